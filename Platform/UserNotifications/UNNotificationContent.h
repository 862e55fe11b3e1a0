#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Foundation/PropertyList.h"
#include "Intents/Intents.h"

namespace UserNotifications {

class UNNotificationContent;

/// A notification's content while it is being written.
struct UNMutableNotificationContent {
    std::string title;
    std::string subtitle;
    std::string body;
    std::string threadIdentifier;    ///< groups notifications; empty for none
    std::string categoryIdentifier;  ///< names the actions that are offered; empty for none
    std::optional<std::int64_t> badge;
    std::optional<std::string> sound;  ///< the sound's name
    Foundation::Dictionary userInfo;

    /// An immutable copy.
    UNNotificationContent copy() const;

    friend bool operator==(const UNMutableNotificationContent&, const UNMutableNotificationContent&) = default;
};

/// A notification's content. It never changes, and a copy shares what it holds: it costs two pointers, and may be handed
/// from thread to thread.
class UNNotificationContent {
public:
    explicit UNNotificationContent(UNMutableNotificationContent content = {});

    const std::string& title() const { return content_->title; }
    const std::string& subtitle() const { return content_->subtitle; }
    const std::string& body() const { return content_->body; }
    const std::string& threadIdentifier() const { return content_->threadIdentifier; }
    const std::string& categoryIdentifier() const { return content_->categoryIdentifier; }
    std::optional<std::int64_t> badge() const { return content_->badge; }
    const std::optional<std::string>& sound() const { return content_->sound; }
    const Foundation::Dictionary& userInfo() const { return content_->userInfo; }

    /// The intent that the content was updated from; null for a plain notification.
    const std::shared_ptr<const Intents::INSendMessageIntent>& intent() const { return intent_; }

    /// An independent copy to write into. It is a plain notification's: the intent stays behind, as on the platform,
    /// where an update is the last step.
    UNMutableNotificationContent mutableCopy() const { return *content_; }

    /// This content as a communication notification: the platform shows the intent's sender as a person.
    UNNotificationContent updating(std::shared_ptr<const Intents::INSendMessageIntent> intent) const;

private:
    std::shared_ptr<const UNMutableNotificationContent> content_;
    std::shared_ptr<const Intents::INSendMessageIntent> intent_;
};

}  // namespace UserNotifications
