#include "ChatModel/ConversationVisibility.h"

#include <utility>

#include "ChatModel/Channel.h"
#include "Foundation/Hash.h"

using ChatModel::ConversationVisibility;

std::optional<ConversationVisibility> ConversationVisibility::make(const Channel& channel,
                                                                   std::string_view currentUserID) {
    if (channel.kind == Channel::Kind::group)
        return ConversationVisibility{.category = "group_channel_show", .name = std::string(channel.id)};
    const auto peer = channel.directPeerID(currentUserID);  // of a direct channel alone
    if (!peer) return std::nullopt;
    return ConversationVisibility{.category = "direct_channel_show", .name = std::string(*peer)};
}

ChatModel::Preference ConversationVisibility::preference(bool shown) const {
    return {.category = category, .name = name, .value = shown ? "true" : "false"};
}

std::size_t std::hash<ConversationVisibility>::operator()(const ConversationVisibility& visibility) const noexcept {
    return Foundation::hashOf(visibility.category, visibility.name);
}
