#include "ChatModel/Channel.h"

#include <algorithm>

#include "ChatModel/EntityCoding.h"

using ChatModel::Channel;

template <>
constexpr auto Foundation::fields<Channel> = std::tuple{
    required("id", &Channel::id),
    required("team_id", &Channel::teamID),
    required("type", &Channel::kind),
    required("name", &Channel::name),
    required("display_name", &Channel::displayName),
    required("purpose", &Channel::purpose),
    required("header", &Channel::header),
    required("create_at", &Channel::createAt),
    required("delete_at", &Channel::deleteAt),
    required("last_post_at", &Channel::lastPostAt),
    required("last_root_post_at", &Channel::lastRootPostAt),
    required("total_msg_count", &Channel::totalMsgCount),
    required("total_msg_count_root", &Channel::totalMsgCountRoot),
};

template struct ChatModel::ServerJSON<Channel>;

namespace ChatModel {

namespace {

struct Pieces {
    std::array<std::string_view, 2> first;  ///< the first two
    std::size_t count = 0;
};

/// The pieces between the separators, empty ones left out.
Pieces pieces(std::string_view text, std::string_view separator) {
    Pieces pieces;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(separator), text.size());
        if (end > 0 && pieces.count++ < pieces.first.size()) pieces.first[pieces.count - 1] = text.substr(0, end);
        text.remove_prefix(std::min(end + separator.size(), text.size()));
    }
    return pieces;
}

}  // namespace

std::optional<Identifier> Channel::directPeerID(std::string_view currentUserID) const {
    if (kind != Kind::direct) return std::nullopt;
    const auto [users, count] = pieces(name, "__");
    if (count != users.size()) return std::nullopt;
    return users[0] != currentUserID ? users[0] : users[1];
}

std::string Channel::title(std::string_view currentUserID,
                           const std::map<Identifier, std::string, std::less<>>& peerNames) const {
    if (const auto peer = directPeerID(currentUserID))
        if (const auto found = peerNames.find(*peer); found != peerNames.end()) return found->second;
    return displayName;
}

}  // namespace ChatModel

std::size_t std::hash<Channel>::operator()(const Channel& channel) const noexcept {
    return Foundation::hashFields(channel);
}
