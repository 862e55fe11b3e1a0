#include "UserNotifications/UNNotificationContent.h"

#include <utility>

namespace UserNotifications {

UNNotificationContent UNMutableNotificationContent::copy() const {
    return UNNotificationContent(*this);
}

UNNotificationContent::UNNotificationContent(UNMutableNotificationContent content)
    : state_(std::make_shared<const State>(State{std::move(content), nullptr})) {}

UNNotificationContent UNNotificationContent::updating(
    std::shared_ptr<const Intents::INSendMessageIntent> intent) const {
    UNNotificationContent updated = *this;
    updated.state_ = std::make_shared<const State>(State{state_->content, std::move(intent)});
    return updated;
}

}  // namespace UserNotifications
