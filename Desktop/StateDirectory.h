#pragma once

#include <filesystem>

namespace Desktop {

/// Where the desktop's part keeps what outlives a process: $XDG_STATE_HOME/tessel, else ~/.local/state/tessel (XDG base
/// directories 0.8). Whoever writes in it makes it where it is missing. Throws `std::runtime_error` where
/// neither is known.
std::filesystem::path stateDirectory();

/// In it: what is still to be shown, the notifications that are shown, and the messages that were taken last.
inline constexpr const char* spoolDirectory = "spool";
inline constexpr const char* shownNotifications = "notifications.json";
inline constexpr const char* recentMessages = "messages.json";

}  // namespace Desktop
