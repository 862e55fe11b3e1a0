#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "ChatModel/Identifier.h"

namespace ChatModel {

/// An emoji that someone uploaded to the server:
///
///     {"id":"e1","name":"party","creator_id":"u1","update_at":1}
///
/// Every key is required.
struct CustomEmoji {
    Identifier id;
    std::string name;
    Identifier creatorID;
    std::int64_t updateAt = 0;  ///< milliseconds since the Unix epoch

    friend bool operator==(const CustomEmoji&, const CustomEmoji&) = default;
};

}  // namespace ChatModel

template <>
struct std::hash<ChatModel::CustomEmoji> {
    std::size_t operator()(const ChatModel::CustomEmoji& emoji) const noexcept;
};
