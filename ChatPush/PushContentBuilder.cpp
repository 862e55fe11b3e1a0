#include "ChatPush/PushContentBuilder.h"

#include <tuple>
#include <utility>

#include "ChatPush/PushAckCoding.h"

namespace ChatPush::PushContentBuilder {

using ChatModel::PushPayload;
using UserNotifications::UNMutableNotificationContent;

void unverified(UNMutableNotificationContent& content, const std::string& text) {
    content.title.clear();
    content.subtitle.clear();
    content.categoryIdentifier.clear();
    content.body = text;
    content.userInfo.insert_or_assign("verified", "false");
}

void configure(UNMutableNotificationContent& content, const PushPayload& push) {
    content.threadIdentifier = push.conversationID();
    content.categoryIdentifier = PushPayload::replyCategory;
}

void apply(const PushAck::Message& message, UNMutableNotificationContent& content) {
    content.body = message.message;
    if (!message.channelName.empty()) content.title = message.channelName;
    const auto put = [&](const auto& field) {
        const std::string& value = message.*field.member;
        if (!value.empty()) content.userInfo.insert_or_assign(std::string(field.key), value);
    };
    std::apply([&](const auto&... field) { (put(field), ...); }, Foundation::fields<PushAck::Message>);
}

std::optional<Foundation::URL> avatarURL(const PushPayload& push, const Foundation::URL& server) {
    if (push.overrideIconURL) return push.overrideIconURL;
    if (push.senderID.empty()) return std::nullopt;
    return server.appending("api/v4/users/" + push.senderID + "/image");
}

std::shared_ptr<const Intents::INSendMessageIntent> intent(const PushPayload& push,
                                                           const UNMutableNotificationContent& content,
                                                           std::optional<Foundation::Data> avatar) {
    Intents::INPerson sender{.personHandle = {push.overrideUsername.empty() ? push.senderID : push.overrideUsername},
                             .displayName = content.title.empty() ? push.senderName : content.title,
                             .image = std::nullopt,
                             .customIdentifier = push.senderID.empty() ? std::nullopt : std::optional(push.senderID)};
    if (avatar) sender.image = Intents::INImage{*std::move(avatar)};
    return std::make_shared<const Intents::INSendMessageIntent>(Intents::INSendMessageIntent{
        .content = content.body, .conversationIdentifier = push.conversationID(), .sender = std::move(sender)});
}

}  // namespace ChatPush::PushContentBuilder
