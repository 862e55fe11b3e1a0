#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "Foundation/Date.h"

namespace ChatModel {

/// The emoji and text by which a user tells what they are at:
///
///     {"emoji":"palm_tree","text":"Away","duration":"this_week","expires_at":"2026-11-29T22:59:59.999Z"}
///
/// Missing keys give the defaults.
struct CustomStatus {
    std::string emoji;
    std::string text;
    std::string duration;

    /// Absent where the status does not expire, which is also what a time at or before the Unix epoch says. On the
    /// wire RFC 3339 text, kept to the millisecond.
    std::optional<Foundation::Date> expiresAt;

    bool isExpired(Foundation::Date at) const { return expiresAt && *expiresAt <= at; }

    friend bool operator==(const CustomStatus&, const CustomStatus&) = default;
};

}  // namespace ChatModel

template <>
struct std::hash<ChatModel::CustomStatus> {
    std::size_t operator()(const ChatModel::CustomStatus& status) const noexcept;
};
