#include "UserNotifications/UNNotificationContent.h"

#include <utility>

namespace UserNotifications {

UNNotificationContent UNMutableNotificationContent::copy() const {
    return UNNotificationContent(*this);
}

UNNotificationContent::UNNotificationContent(UNMutableNotificationContent content)
    : content_(std::make_shared<const UNMutableNotificationContent>(std::move(content))) {}

UNNotificationContent UNNotificationContent::updating(
    std::shared_ptr<const Intents::INSendMessageIntent> intent) const {
    UNNotificationContent updated = *this;
    updated.intent_ = std::move(intent);
    return updated;
}

}  // namespace UserNotifications
