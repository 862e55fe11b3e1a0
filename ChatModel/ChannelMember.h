#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "ChatModel/Identifier.h"
#include "ChatModel/NotifyProps.h"

namespace ChatModel {

/// The current user's membership in a channel:
///
///     {"channel_id":"c1","last_viewed_at":1,"msg_count":3,"msg_count_root":2,"mention_count":0,
///      "mention_count_root":0,"notify_props":{"desktop":"default","mark_unread":"all"}}
///
/// Every key is required.
struct ChannelMember {
    Identifier channelID;
    std::int64_t lastViewedAt = 0;  ///< milliseconds since the Unix epoch
    std::int64_t msgCount = 0;      ///< posts that the user has seen
    std::int64_t msgCountRoot = 0;  ///< the same, replies left out
    std::int64_t mentionCount = 0;
    std::int64_t mentionCountRoot = 0;
    NotifyProps notifyProps;

    /// Whether the user has muted the channel.
    bool isMuted() const;

    friend bool operator==(const ChannelMember&, const ChannelMember&) = default;
};

}  // namespace ChatModel

template <>
struct std::hash<ChatModel::ChannelMember> {
    std::size_t operator()(const ChatModel::ChannelMember& member) const noexcept;
};
