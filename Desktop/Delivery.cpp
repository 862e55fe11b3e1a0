#include "Desktop/Delivery.h"

#include <utility>

#include "ExtensionHost/ContentJSON.h"
#include "Foundation/Base64.h"
#include "Foundation/PropertyListCoding.h"

using Desktop::Delivery;
using Foundation::JSONReader;
using Foundation::optional;
using Foundation::required;
using UserNotifications::UNMutableNotificationContent;

namespace {

struct Intent {
    Delivery::Sender sender;
};

struct HasIntent {
    std::optional<Intent> intent;
};

struct Line {
    std::string delivery;
    Delivery content;
};

struct InBase64 {
    static void decode(JSONReader& reader, std::optional<Foundation::Data>& data) {
        std::string text;
        reader.read(text);
        data = Foundation::base64Decoded(text);
        if (!data) reader.failExpecting("base64");
    }
};

struct OfContent {
    static void decode(JSONReader& reader, Delivery& delivery);
};

}  // namespace

template <>
constexpr auto Foundation::fields<Delivery::Sender> = std::tuple{
    required("displayName", &Delivery::Sender::displayName),
    optional<InBase64>("imageData", &Delivery::Sender::image),
};

template <>
constexpr auto Foundation::fields<Intent> = std::tuple{required("sender", &Intent::sender)};

template <>
constexpr auto Foundation::fields<HasIntent> = std::tuple{optional("intent", &HasIntent::intent)};

template <>
constexpr auto Foundation::fields<UNMutableNotificationContent> = std::tuple{
    required("title", &UNMutableNotificationContent::title),
    required("subtitle", &UNMutableNotificationContent::subtitle),
    required("body", &UNMutableNotificationContent::body),
    required("threadIdentifier", &UNMutableNotificationContent::threadIdentifier),
    required("categoryIdentifier", &UNMutableNotificationContent::categoryIdentifier),
    optional("badge", &UNMutableNotificationContent::badge),
    optional("sound", &UNMutableNotificationContent::sound),
    required("userInfo", &UNMutableNotificationContent::userInfo),
};

template <>
constexpr auto Foundation::fields<Line> = std::tuple{
    required("delivery", &Line::delivery),
    required<OfContent>("content", &Line::content),
};

namespace {

void OfContent::decode(JSONReader& reader, Delivery& delivery) {
    HasIntent has;
    Foundation::decode(reader, delivery.content);
    Foundation::decode(reader, has);
    if (has.intent) delivery.sender = std::move(has.intent->sender);
}

/// What the extension has not answered for is the push's own word, whatever it says of itself.
void readPush(Delivery& delivery, bool isAnsweredFor) {
    auto& userInfo = delivery.content.userInfo;
    delivery.push = ChatModel::PushPayload::make(userInfo);
    delivery.isVerified = isAnsweredFor && delivery.push && delivery.push->isVerified;
    if (!delivery.isVerified) userInfo["verified"] = "false";
}

}  // namespace

Delivery Delivery::read(std::string_view line) {
    auto [delivery, content] = Foundation::decodeJSON<Line>(line);
    readPush(content, delivery != "none");
    return content;
}

Delivery Delivery::unlooked(std::string_view push) {
    Delivery delivery;
    delivery.content = ExtensionHost::contentOfPush(Foundation::parseDictionary(push));
    readPush(delivery, false);
    return delivery;
}
