#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "ChatModel/Identifier.h"

namespace ChatModel {

/// A thread as the current user sees it:
///
///     {"id":"p1","post":{"channel_id":"c1"},"reply_count":2,"last_reply_at":9,"last_viewed_at":8,"unread_replies":1,
///      "unread_mentions":0,"is_following":true,"participants":[{"id":"u2"}]}
///
/// Required are all keys that no remark says otherwise of. Times are milliseconds since the Unix epoch.
struct UserThread {
    Identifier id;         ///< of the root post
    Identifier channelID;  ///< the one thing that counts of "post"
    std::int64_t replyCount = 0;
    std::int64_t lastReplyAt = 0;
    std::int64_t lastViewedAt = 0;
    std::int64_t unreadReplies = 0;
    std::int64_t unreadMentions = 0;
    bool isFollowing = true;                 ///< deliberately true where missing: the server lists what is followed
    std::vector<Identifier> participantIDs;  ///< empty where missing

    friend bool operator==(const UserThread&, const UserThread&) = default;
};

/// How much is unread in all of the user's threads:
///
///     {"total_unread_threads":1,"total_unread_mentions":0}
///
/// Both keys are required.
struct ThreadTotals {
    std::int64_t unreadThreads = 0;
    std::int64_t unreadMentions = 0;

    friend bool operator==(const ThreadTotals&, const ThreadTotals&) = default;
};

}  // namespace ChatModel

template <>
struct std::hash<ChatModel::UserThread> {
    std::size_t operator()(const ChatModel::UserThread& thread) const noexcept;
};

template <>
struct std::hash<ChatModel::ThreadTotals> {
    std::size_t operator()(const ChatModel::ThreadTotals& totals) const noexcept;
};
