#pragma once

#include "ChatPush/PushNotificationService.h"

namespace TesselMacNotificationService {

/// The extension's principal class.
class NotificationService final : public ChatPush::PushNotificationService {
public:
    NotificationService() = default;
};

}  // namespace TesselMacNotificationService
