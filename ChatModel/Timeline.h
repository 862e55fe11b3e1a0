#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>
#include <vector>

#include "ChatModel/Post.h"
#include "ChatModel/Reaction.h"
#include "Foundation/Date.h"
#include "Foundation/WireNames.h"
#include "Time/Calendar.h"

namespace ChatModel {

/// How often an emoji stands under a post.
struct ReactionSummary {
    std::string emojiName;
    std::int64_t count = 0;  ///< of reactions: a user who is listed twice counts twice
    bool includesCurrentUser = false;

    /// The summaries of one post's reactions: the emoji that was used first comes first, of equal times the one that is
    /// listed first.
    static std::vector<ReactionSummary> summarize(const std::vector<Reaction>& reactions,
                                                  std::string_view currentUserID);

    friend bool operator==(const ReactionSummary&, const ReactionSummary&) = default;
};

/// A post, and what a view of messages needs to draw it.
struct TimelineMessage {
    /// It could not be sent.
    struct Failed {
        std::string message;  ///< the error's text, to be shown

        friend bool operator==(const Failed&, const Failed&) = default;
    };
    /// The server has it, or has not confirmed it yet.
    enum class Sending { sent, pending };

    /// How far the post's sending has come.
    using Delivery = std::variant<Failed, Sending>;

    Post post;
    std::vector<ReactionSummary> reactions;
    bool isContinuation = false;  ///< whether it is drawn as one with the post before it, without an author of its own
    Delivery delivery = Sending::sent;
    bool showsThreadFooter = false;
    bool isOwn = false;  ///< whether the current user wrote it, by themselves or by a webhook

    friend bool operator==(const TimelineMessage&, const TimelineMessage&) = default;
};

/// A row of a view of messages.
struct TimelineItem {
    /// The divider above the first unread post.
    using NewMessages = std::monostate;

    /// The start of a calendar day, above its posts; a post; the divider above the first one that is unread.
    using Case = std::variant<Foundation::Date, TimelineMessage, NewMessages>;

    Case content;

    /// The same whenever the rows are made again: "date-" and the seconds since the Unix epoch, the post's identifier,
    /// or "new-messages". Two rows have the same one where posts have the same identifier, and where the clocks are set
    /// back across midnight, so that a day is come back to.
    std::string id() const;

    friend bool operator==(const TimelineItem&, const TimelineItem&) = default;
};

}  // namespace ChatModel

/// The posts of a channel or a thread as the rows of a view.
namespace ChatModel::Timeline {

/// Times are milliseconds since the Unix epoch.
struct Input {
    std::vector<Post> posts;                                          ///< in any order
    std::unordered_map<Identifier, std::vector<Reaction>> reactions;  ///< by the post's identifier
    Identifier currentUserID;

    /// When the user last looked at the channel; where that is absent nothing counts as unread.
    std::optional<std::int64_t> lastViewedAt;

    /// The texts of the errors of posts that could not be sent, by the posts' identifiers.
    std::unordered_map<Identifier, std::string> failedPostIDs;

    bool showsThreadFooters = false;  ///< in a channel, not within a thread
    Time::Calendar calendar;          ///< where days begin

    friend bool operator==(const Input&, const Input&) = default;
};

/// By how many milliseconds a post may follow the one before it and still continue it.
inline constexpr std::int64_t mergeInterval = 300'000;

/// The rows, the oldest post first; posts of one time stay in their order. The first unread post that is another's, or
/// comes by a webhook, and is not silenced gets the divider. A post continues the one before it where nothing stands
/// between the two, both are one user's, and neither is a webhook's or the system's. No post is copied where the caller
/// moves the input.
std::vector<TimelineItem> items(Input input);

}  // namespace ChatModel::Timeline

template <>
inline constexpr std::array<std::string_view, 2> Foundation::wireNames<ChatModel::TimelineMessage::Sending> = {
    "sent", "pending"};

template <>
struct std::hash<ChatModel::ReactionSummary> {
    std::size_t operator()(const ChatModel::ReactionSummary& summary) const noexcept;
};

template <>
struct std::hash<ChatModel::TimelineMessage::Failed> {
    std::size_t operator()(const ChatModel::TimelineMessage::Failed& failed) const noexcept;
};

template <>
struct std::hash<ChatModel::TimelineMessage> {
    std::size_t operator()(const ChatModel::TimelineMessage& message) const noexcept;
};

template <>
struct std::hash<ChatModel::TimelineItem> {
    std::size_t operator()(const ChatModel::TimelineItem& item) const noexcept;
};

template <>
struct std::hash<ChatModel::Timeline::Input> {
    std::size_t operator()(const ChatModel::Timeline::Input& input) const noexcept;
};
