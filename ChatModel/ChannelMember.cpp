#include "ChatModel/ChannelMember.h"

#include "ChatModel/EntityCoding.h"

using ChatModel::ChannelMember;

template <>
constexpr auto Foundation::fields<ChannelMember> = std::tuple{
    required("channel_id", &ChannelMember::channelID),
    required("last_viewed_at", &ChannelMember::lastViewedAt),
    required("msg_count", &ChannelMember::msgCount),
    required("msg_count_root", &ChannelMember::msgCountRoot),
    required("mention_count", &ChannelMember::mentionCount),
    required("mention_count_root", &ChannelMember::mentionCountRoot),
    required("notify_props", &ChannelMember::notifyProps),
};

template struct ChatModel::ServerJSON<ChannelMember>;

bool ChannelMember::isMuted() const {
    return setting(notifyProps, "mark_unread") == "mention";
}

std::size_t std::hash<ChannelMember>::operator()(const ChannelMember& member) const noexcept {
    return Foundation::hashFields(member);
}
