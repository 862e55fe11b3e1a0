#include "ExtensionHost/ContentJSON.h"

#include <utility>

#include "Foundation/Base64.h"

namespace ExtensionHost {

using Foundation::Dictionary;
using Foundation::find;
using Foundation::JSONWriter;
using Foundation::PropertyList;
using Foundation::textOrEmpty;
using UserNotifications::UNMutableNotificationContent;
using UserNotifications::UNNotificationContent;

namespace {

void writeSender(JSONWriter& writer, const Intents::INPerson& sender, bool images) {
    writer.beginObject();
    writer.key("handle").value(sender.personHandle.value);
    writer.key("displayName").value(sender.displayName);
    writer.key("customIdentifier").value(sender.customIdentifier);
    std::optional<std::int64_t> size;
    if (sender.image) size = static_cast<std::int64_t>(sender.image->imageData.size());
    writer.key("imageBytes").value(size);
    if (images) {
        std::optional<std::string> data;
        if (sender.image) data = Foundation::base64Encoded(sender.image->imageData);
        writer.key("imageData").value(data);
    }
    writer.endObject();
}

}  // namespace

UNMutableNotificationContent contentOfPush(Dictionary payload) {
    UNMutableNotificationContent content;
    const PropertyList* apsValue = find(payload, "aps");
    if (const Dictionary* aps = apsValue == nullptr ? nullptr : apsValue->dictionary()) {
        content.threadIdentifier = textOrEmpty(*aps, "thread-id");
        content.categoryIdentifier = textOrEmpty(*aps, "category");
        if (const PropertyList* badge = find(*aps, "badge")) content.badge = badge->integer();
        const PropertyList* sound = find(*aps, "sound");
        if (sound != nullptr && sound->text() != nullptr) content.sound = *sound->text();
        const PropertyList* alertValue = find(*aps, "alert");
        if (const Dictionary* alert = alertValue == nullptr ? nullptr : alertValue->dictionary()) {
            content.title = textOrEmpty(*alert, "title");
            content.subtitle = textOrEmpty(*alert, "subtitle");
            content.body = textOrEmpty(*alert, "body");
        } else {
            content.body = textOrEmpty(*aps, "alert");
        }
    }
    content.userInfo = std::move(payload);
    return content;
}

void writeContent(JSONWriter& writer, const UNNotificationContent& content, bool images) {
    writer.beginObject();
    writer.key("title").value(content.title());
    writer.key("subtitle").value(content.subtitle());
    writer.key("body").value(content.body());
    writer.key("threadIdentifier").value(content.threadIdentifier());
    writer.key("categoryIdentifier").value(content.categoryIdentifier());
    writer.key("badge").value(content.badge());
    writer.key("sound").value(content.sound());
    write(writer.key("userInfo"), content.userInfo());
    writeIntent(writer.key("intent"), content.intent().get(), images);
    writer.endObject();
}

void writeIntent(JSONWriter& writer, const Intents::INSendMessageIntent* intent, bool images) {
    if (intent == nullptr) {
        writer.null();
        return;
    }
    writer.beginObject();
    writeSender(writer.key("sender"), intent->sender, images);
    writer.key("conversationIdentifier").value(intent->conversationIdentifier);
    writer.key("content").value(intent->content);
    writer.key("outgoingMessageType").value("text");
    writer.endObject();
}

}  // namespace ExtensionHost
