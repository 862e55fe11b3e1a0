#pragma once

#include <string>

#include "UserNotifications/UNNotificationContent.h"

namespace ExtensionHost {

/// A notification as a picture of text for a terminal, several lines, each ended. `heading` stands in the frame.
/// Texts are shown as they are, whatever control characters they hold being spelled out.
std::string card(const UserNotifications::UNNotificationContent& content, const std::string& heading);

}  // namespace ExtensionHost
