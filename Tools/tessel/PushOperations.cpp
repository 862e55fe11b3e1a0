#include <utility>

#include "ChatModel/PushPayload.h"
#include "ChatPush/PushAck.h"
#include "ChatPush/PushContentBuilder.h"
#include "ChatPush/PushSignature.h"
#include "ExtensionHost/ContentJSON.h"
#include "Foundation/PropertyList.h"
#include "tessel/Model.h"

namespace tessel {

using ChatModel::PushPayload;
using Foundation::Dictionary;
using Foundation::JSONReader;
using Foundation::JSONWriter;
using UserNotifications::UNMutableNotificationContent;
using UserNotifications::UNNotificationContent;
namespace PushContentBuilder = ChatPush::PushContentBuilder;
namespace PushSignature = ChatPush::PushSignature;

namespace {

/// The largest picture that an intent is made with: what the session takes at most.
constexpr std::int64_t maximumAvatar = std::int64_t{8} << 20;

Dictionary dictionaryIn(const Members& members, const std::string& key) {
    return members.decoded(key, Foundation::parseDictionary);
}

PushPayload payloadFrom(const Dictionary& userInfo, const std::string& place) {
    auto payload = PushPayload::make(userInfo);
    if (!payload) refuse(place, "no push payload: \"type\" names no kind");
    return *std::move(payload);
}

PushPayload payloadIn(const Members& members, const std::string& key) {
    return payloadFrom(dictionaryIn(members, key), key);
}

UNMutableNotificationContent contentFrom(const Members& members) {
    const auto text = [&](const char* key) { return members.optionalText(key).value_or(""); };
    return {.title = text("title"),
            .subtitle = text("subtitle"),
            .body = text("body"),
            .threadIdentifier = text("threadIdentifier"),
            .categoryIdentifier = text("categoryIdentifier"),
            .badge = members.optionalInteger("badge"),
            .sound = members.optionalText("sound"),
            .userInfo = members.has("userInfo") ? dictionaryIn(members, "userInfo") : Dictionary()};
}

UNMutableNotificationContent contentIn(const Members& members) {
    UNMutableNotificationContent content;
    members.read("content", [&](JSONReader& value) { content = contentFrom(Members(value)); });
    return content;
}

void write(JSONWriter& writer, UNMutableNotificationContent content) {
    ExtensionHost::writeContent(writer, UNNotificationContent(std::move(content)));
}

void pushPayload(JSONReader& reader, JSONWriter& writer) {
    const auto payload = PushPayload::make(readDictionary(reader));
    if (!payload) {
        writer.null();
        return;
    }
    writer.beginObject();
    writer.key("kind").value(Foundation::wireName(payload->kind));
    writer.key("serverID").value(payload->serverID);
    writer.key("serverURL").value(spelling(payload->serverURL));
    writer.key("ackID").value(payload->ackID);
    writer.key("signature").value(payload->signature);
    writer.key("postID").value(payload->postID);
    writer.key("channelID").value(payload->channelID);
    writer.key("rootID").value(payload->rootID);
    writer.key("teamID").value(payload->teamID);
    writer.key("senderID").value(payload->senderID);
    writer.key("senderName").value(payload->senderName);
    writer.key("channelName").value(payload->channelName);
    writer.key("overrideUsername").value(payload->overrideUsername);
    writer.key("overrideIconURL").value(spelling(payload->overrideIconURL));
    writer.key("isFromWebhook").value(payload->isFromWebhook);
    writer.key("isCollapsedThreads").value(payload->isCollapsedThreads);
    writer.key("isIDLoaded").value(payload->isIDLoaded);
    writer.key("badge").value(payload->badge);
    writer.key("subType").value(payload->subType);
    writer.key("isVerified").value(payload->isVerified);
    writer.key("threadRootID").value(payload->threadRootID());
    writer.key("conversationID").value(payload->conversationID());
    writer.endObject();
}

void pushIsShown(JSONReader& reader, JSONWriter& writer) {
    const Members members(reader);
    writer.value(
        payloadIn(members, "payload").isShown(members.optionalText("channelID"), members.optionalText("threadID")));
}

void pushIsCleared(JSONReader& reader, JSONWriter& writer) {
    const Members members(reader);
    writer.value(payloadIn(members, "payload").isCleared(payloadIn(members, "clear")));
}

void verify(JSONReader& reader, JSONWriter& writer) {
    const Members members(reader);
    const std::string token = members.text("token");
    const std::string key = members.text("publicKey");
    const std::string ackID = members.text("ackID");
    const std::string deviceToken = members.text("deviceToken");
    try {
        PushSignature::verify(token, key, ackID, deviceToken);
        writer.value("ok");
    } catch (const PushSignature::Failure& failure) {
        writer.value(failure.what());
    }
}

void contentUnverified(JSONReader& reader, JSONWriter& writer) {
    const Members members(reader);
    auto content = contentIn(members);
    PushContentBuilder::unverified(content, members.text("text"));
    write(writer, std::move(content));
}

void contentConfigure(JSONReader& reader, JSONWriter& writer) {
    auto content = contentIn(Members(reader));
    PushContentBuilder::configure(content, payloadFrom(content.userInfo, "content.userInfo"));
    write(writer, std::move(content));
}

void contentApply(JSONReader& reader, JSONWriter& writer) {
    const Members members(reader);
    auto content = contentIn(members);
    PushContentBuilder::apply(members.decoded("message", ChatPush::PushAck::Message::fromJSON), content);
    write(writer, std::move(content));
}

void avatarURL(JSONReader& reader, JSONWriter& writer) {
    const Members members(reader);
    writer.value(spelling(PushContentBuilder::avatarURL(payloadIn(members, "payload"), members.url("server"))));
}

void intent(JSONReader& reader, JSONWriter& writer) {
    const Members members(reader);
    const auto size = members.optionalInteger("avatarBytes");
    if (size && (*size < 0 || *size > maximumAvatar))
        refuse("avatarBytes", "expected an integer from 0 to " + std::to_string(maximumAvatar));
    std::optional<Foundation::Data> avatar;
    if (size) avatar.emplace(static_cast<std::size_t>(*size));
    const auto made = PushContentBuilder::intent(payloadIn(members, "payload"), contentIn(members), std::move(avatar));
    ExtensionHost::writeIntent(writer, made.get());
}

}  // namespace

const Operations& pushOperations() {
    static const Operations operations = {{"push-payload", pushPayload},
                                          {"push-is-shown", pushIsShown},
                                          {"push-is-cleared", pushIsCleared},
                                          {"verify", verify},
                                          {"content-unverified", contentUnverified},
                                          {"content-configure", contentConfigure},
                                          {"content-apply", contentApply},
                                          {"avatar-url", avatarURL},
                                          {"intent", intent}};
    return operations;
}

}  // namespace tessel
