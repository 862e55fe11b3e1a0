#include "ChatModel/Channel.h"

#include <algorithm>
#include <vector>

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

/// The pieces between the separators, empty ones left out.
std::vector<std::string_view> pieces(std::string_view text, std::string_view separator) {
    std::vector<std::string_view> found;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(separator), text.size());
        if (end > 0) found.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + separator.size(), text.size()));
    }
    return found;
}

}  // namespace

std::optional<std::string> Channel::directPeerID(std::string_view currentUserID) const {
    if (kind != Kind::direct) return std::nullopt;
    const auto users = pieces(name, "__");
    if (users.size() != 2) return std::nullopt;
    return std::string(users[0] != currentUserID ? users[0] : users[1]);
}

std::string Channel::title(std::string_view currentUserID,
                           const std::map<std::string, std::string, std::less<>>& peerNames) const {
    if (const auto peer = directPeerID(currentUserID))
        if (const auto found = peerNames.find(*peer); found != peerNames.end()) return found->second;
    return displayName;
}

}  // namespace ChatModel

std::size_t std::hash<Channel>::operator()(const Channel& channel) const noexcept {
    return Foundation::hashFields(channel);
}
