#pragma once

#include "Foundation/JSONReader.h"
#include "Foundation/JSONWriter.h"
#include "Foundation/PropertyList.h"
#include "Intents/Intents.h"
#include "UserNotifications/UNNotificationContent.h"

/// Notification contents as JSON, as tools see them.
namespace ExtensionHost {

/// The content that the platform makes from a push: the alert's texts ("aps"."alert", an object or the body alone),
/// "thread-id", "category", "badge" and "sound" of "aps", and the whole payload as user information. A missing value,
/// or one of another kind, is empty.
UserNotifications::UNMutableNotificationContent contentOfPush(Foundation::Dictionary payload);

/// Writes a content:
///
///     {"title":"","subtitle":"","body":"","threadIdentifier":"","categoryIdentifier":"","badge":null,"sound":null,
///      "userInfo":{},"intent":null}
///
/// With `images`, the intent's sender has "imageData": the picture's bytes in base64, or null.
void writeContent(Foundation::JSONWriter& writer, const UserNotifications::UNNotificationContent& content,
                  bool images = false);

/// Writes an intent, or null where there is none:
///
///     {"sender":{"handle":"","displayName":"","customIdentifier":null,"imageBytes":null},
///      "conversationIdentifier":"","content":null,"outgoingMessageType":"text"}
void writeIntent(Foundation::JSONWriter& writer, const Intents::INSendMessageIntent* intent, bool images = false);

}  // namespace ExtensionHost
