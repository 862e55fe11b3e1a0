#pragma once

#include <memory>
#include <optional>
#include <string>

#include "ChatModel/PushPayload.h"
#include "ChatPush/PushAck.h"
#include "Foundation/Data.h"
#include "Foundation/URL.h"
#include "Intents/Intents.h"
#include "UserNotifications/UNNotificationContent.h"

/// What is written into a notification's content. The operations hold no state, never fail and never log.
namespace ChatPush::PushContentBuilder {

/// Makes the content that of a push which could not be verified: the text as body, no title, subtitle and category,
/// and "verified" set to "false" beside the push's own user information.
void unverified(UserNotifications::UNMutableNotificationContent& content, const std::string& text);

/// Sets the thread (the conversation) and the category (the one that can be answered in place) of a message.
void configure(UserNotifications::UNMutableNotificationContent& content, const ChatModel::PushPayload& push);

/// Writes the acknowledged message into the content: the body always, the title and the user information where the
/// message has something to say.
void apply(const PushAck::Message& message, UserNotifications::UNMutableNotificationContent& content);

/// Where the sender's picture is: the push's own icon, whatever its host, else the sender's on the server. Absent
/// where the push names neither.
std::optional<Foundation::URL> avatarURL(const ChatModel::PushPayload& push, const Foundation::URL& server);

/// The message as an intent that names the sender as a person. `avatar` is a picture's bytes, in any encoding.
std::shared_ptr<const Intents::INSendMessageIntent> intent(
    const ChatModel::PushPayload& push, const UserNotifications::UNMutableNotificationContent& content,
    std::optional<Foundation::Data> avatar);

}  // namespace ChatPush::PushContentBuilder
