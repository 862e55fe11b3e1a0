#include "ChatModel/UserThread.h"

#include "ChatModel/EntityCoding.h"

using ChatModel::EachWithin;
using ChatModel::ThreadTotals;
using ChatModel::UserThread;
using ChatModel::Within;

template <>
constexpr auto Foundation::fields<UserThread> = std::tuple{
    required("id", &UserThread::id),
    required<Within<"channel_id">>("post", &UserThread::channelID),
    required("reply_count", &UserThread::replyCount),
    required("last_reply_at", &UserThread::lastReplyAt),
    required("last_viewed_at", &UserThread::lastViewedAt),
    required("unread_replies", &UserThread::unreadReplies),
    required("unread_mentions", &UserThread::unreadMentions),
    defaulted("is_following", &UserThread::isFollowing),
    defaulted<EachWithin<"id">>("participants", &UserThread::participantIDs),
};

template <>
constexpr auto Foundation::fields<ThreadTotals> = std::tuple{
    required("total_unread_threads", &ThreadTotals::unreadThreads),
    required("total_unread_mentions", &ThreadTotals::unreadMentions),
};

template struct ChatModel::ServerJSON<UserThread>;
template struct ChatModel::ServerJSON<ThreadTotals>;

std::size_t std::hash<UserThread>::operator()(const UserThread& thread) const noexcept {
    return Foundation::hashFields(thread);
}

std::size_t std::hash<ThreadTotals>::operator()(const ThreadTotals& totals) const noexcept {
    return Foundation::hashFields(totals);
}
