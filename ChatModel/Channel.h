#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "ChatModel/Identifier.h"
#include "Foundation/WireNames.h"

namespace ChatModel {

/// A channel, which holds posts:
///
///     {"id":"c1","team_id":"t1","type":"O","name":"town","display_name":"Town","purpose":"","header":"",
///      "create_at":1,"delete_at":0,"last_post_at":2,"last_root_post_at":2,"total_msg_count":3,
///      "total_msg_count_root":2}
///
/// Every key is required. Times are milliseconds since the Unix epoch, 0 for never.
struct Channel {
    /// `private` is a keyword, hence the underscore.
    enum class Kind { open, private_, direct, group };

    Identifier id;
    Identifier teamID;  ///< empty for direct and group channels
    Kind kind = Kind::open;
    std::string name;  ///< of a direct channel, both users' identifiers: "u1__u2"
    std::string displayName;
    std::string purpose;
    std::string header;
    std::int64_t createAt = 0;
    std::int64_t deleteAt = 0;
    std::int64_t lastPostAt = 0;
    std::int64_t lastRootPostAt = 0;
    std::int64_t totalMsgCount = 0;
    std::int64_t totalMsgCountRoot = 0;  ///< posts that are no replies alone

    /// In a direct channel the other user's identifier, one's own in the channel with oneself; absent where the
    /// channel is of another kind or its name does not hold two identifiers.
    std::optional<Identifier> directPeerID(std::string_view currentUserID) const;

    /// What the channel is called on screen: the peer's name in a direct channel, where `peerNames` (display names by
    /// user identifier) has it, else the channel's display name.
    std::string title(std::string_view currentUserID,
                      const std::map<Identifier, std::string, std::less<>>& peerNames) const;

    friend bool operator==(const Channel&, const Channel&) = default;
};

}  // namespace ChatModel

template <>
inline constexpr std::array<std::string_view, 4> Foundation::wireNames<ChatModel::Channel::Kind> = {"O", "P", "D", "G"};

template <>
struct std::hash<ChatModel::Channel> {
    std::size_t operator()(const ChatModel::Channel& channel) const noexcept;
};
