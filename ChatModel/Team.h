#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "ChatModel/Identifier.h"

namespace ChatModel {

/// A team, which holds channels:
///
///     {"id":"t1","name":"staff","display_name":"Staff","delete_at":0}
///
/// Every key is required.
struct Team {
    Identifier id;
    std::string name;
    std::string displayName;
    std::int64_t deleteAt = 0;  ///< milliseconds since the Unix epoch; 0 for a team that is not deleted

    friend bool operator==(const Team&, const Team&) = default;
};

}  // namespace ChatModel

template <>
struct std::hash<ChatModel::Team> {
    std::size_t operator()(const ChatModel::Team& team) const noexcept;
};
