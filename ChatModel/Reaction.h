#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "ChatModel/Identifier.h"

namespace ChatModel {

/// A user's emoji under a post:
///
///     {"user_id":"u1","post_id":"p1","emoji_name":"+1","create_at":1}
///
/// Every key is required.
struct Reaction {
    Identifier userID;
    Identifier postID;
    std::string emojiName;
    std::int64_t createAt = 0;  ///< milliseconds since the Unix epoch

    friend bool operator==(const Reaction&, const Reaction&) = default;
};

}  // namespace ChatModel

template <>
struct std::hash<ChatModel::Reaction> {
    std::size_t operator()(const ChatModel::Reaction& reaction) const noexcept;
};
