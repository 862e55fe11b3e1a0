#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

#include "ChatModel/CustomStatus.h"
#include "Foundation/WireNames.h"

namespace ChatModel {

/// A user's presence. The wire names are those of `Foundation::wireName`.
enum class UserStatus { online, away, doNotDisturb, offline, outOfOffice };

/// What the server tells of a user's presence. The notification rules ask for the status alone.
struct UserStatusSnapshot {
    UserStatus status = UserStatus::online;
    std::int64_t dndEndTime = 0;  ///< the end of do-not-disturb, in the server's own unit; nothing here reads it
    std::optional<CustomStatus> customStatus;

    friend bool operator==(const UserStatusSnapshot&, const UserStatusSnapshot&) = default;
};

}  // namespace ChatModel

template <>
inline constexpr std::array<std::string_view, 5> Foundation::wireNames<ChatModel::UserStatus> = {
    "online", "away", "dnd", "offline", "ooo"};

template <>
struct std::hash<ChatModel::UserStatusSnapshot> {
    std::size_t operator()(const ChatModel::UserStatusSnapshot& snapshot) const noexcept;
};
