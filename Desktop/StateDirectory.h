#pragma once

#include <filesystem>

namespace Desktop {

/// Where the desktop's part keeps what outlives a process: $XDG_STATE_HOME/tessel, else ~/.local/state/tessel (XDG base
/// directories 0.8). It is made where it is missing, for this user alone. Throws `Foundation::CocoaError`,
/// with ENOENT where neither is known.
std::filesystem::path stateDirectory();

/// In it: pushes that are still to be shown, and the notifications that are shown.
inline constexpr const char* spoolDirectory = "spool";
inline constexpr const char* shownNotifications = "notifications.json";

}  // namespace Desktop
