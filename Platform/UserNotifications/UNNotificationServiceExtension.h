#pragma once

#include <functional>
#include <memory>
#include <string>

#include "UserNotifications/UNNotificationContent.h"

namespace UserNotifications {

/// A notification that the platform was asked to show.
struct UNNotificationRequest {
    std::string identifier;  ///< unique within the process
    UNNotificationContent content;
};

/// Takes the content that is to be shown. It is to be called once, on any thread.
using ContentHandler = std::function<void(UNNotificationContent)>;

/// The base class of an extension that rewrites notifications before they are shown. The platform makes the object,
/// shared, so that work which outlives a call can keep it alive, and makes both calls, possibly on different threads.
class UNNotificationServiceExtension : public std::enable_shared_from_this<UNNotificationServiceExtension> {
public:
    UNNotificationServiceExtension() = default;
    virtual ~UNNotificationServiceExtension() = default;
    UNNotificationServiceExtension(const UNNotificationServiceExtension&) = delete;
    UNNotificationServiceExtension& operator=(const UNNotificationServiceExtension&) = delete;

    /// Hands over a request and returns at once; the answer goes to the handler.
    virtual void didReceive(const UNNotificationRequest& request, ContentHandler contentHandler) = 0;

    /// Announces that time is running out: the best content so far is to be handed over now.
    virtual void serviceExtensionTimeWillExpire() = 0;
};

}  // namespace UserNotifications
