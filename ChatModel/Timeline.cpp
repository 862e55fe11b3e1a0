#include "ChatModel/Timeline.h"

#include <algorithm>
#include <compare>
#include <limits>
#include <utility>

#include "Foundation/Hash.h"

namespace ChatModel {

namespace {

/// A post's place in the order of time; of equal times the input's order decides.
struct Place {
    std::int64_t createAt;
    std::size_t position;

    friend auto operator<=>(const Place&, const Place&) = default;
};

/// The posts of a day, up to the next one's first.
struct DaysPosts {
    std::size_t first;
    std::int64_t start;  ///< of the day, in seconds
};

/// Places are sorted and each post is moved once: a post is thirty times as large.
std::vector<Place> orderOf(const std::vector<Post>& posts) {
    std::vector<Place> order;
    order.reserve(posts.size());
    for (const Post& post : posts)
        order.push_back({post.createAt, order.size()});
    std::sort(order.begin(), order.end());
    return order;
}

std::vector<DaysPosts> daysOf(const std::vector<Place>& order, const Time::Calendar& calendar) {
    std::vector<DaysPosts> days;
    std::int64_t sameUntil = 0;
    for (std::size_t i = 0; i < order.size(); ++i) {
        const std::int64_t createAt = order[i].createAt;
        if (!days.empty() && createAt <= sameUntil) continue;
        const Time::Day day = calendar.day(createAt);
        if (days.empty() || days.back().start != day.start) days.push_back({i, day.start});
        sameUntil = day.sameUntil;
    }
    return days;
}

bool takesDivider(const Post& post, bool isOwn) {
    return (!isOwn || post.isFromWebhook()) && !post.isNotificationSuppressed();
}

/// For posts of one day, in the order of time.
bool continues(const Post& previous, const Post& post) {
    return post.createAt - previous.createAt <= Timeline::mergeInterval && previous.userID == post.userID &&
           !previous.isSystemMessage() && !post.isSystemMessage() && !previous.isFromWebhook() && !post.isFromWebhook();
}

TimelineMessage::Delivery deliveryOf(const Post& post, const std::unordered_map<Identifier, std::string>& errors) {
    using enum TimelineMessage::Sending;
    if (const auto error = errors.find(post.id); error != errors.end()) return TimelineMessage::Failed{error->second};
    return post.isPending() ? pending : sent;
}

/// Groups reactions, those of one post at a time, in memory that is used again.
class Summarizer {
public:
    std::vector<ReactionSummary> summaries(const std::vector<Reaction>& reactions, std::string_view currentUserID) {
        byName_.clear();
        for (const Reaction& reaction : reactions)
            byName_.push_back(&reaction);
        std::sort(byName_.begin(), byName_.end(), [](const Reaction* left, const Reaction* right) {
            const int order = left->emojiName.compare(right->emojiName);
            return order != 0 ? order < 0 : isEarlier(left, right);
        });
        groups_.clear();
        for (const Reaction* reaction : byName_) {
            if (groups_.empty() || groups_.back().first->emojiName != reaction->emojiName)
                groups_.push_back({reaction, 0, false});
            ++groups_.back().count;
            if (reaction->userID == currentUserID) groups_.back().includesCurrentUser = true;
        }
        std::sort(groups_.begin(), groups_.end(),
                  [](const Group& left, const Group& right) { return isEarlier(left.first, right.first); });
        std::vector<ReactionSummary> summaries;
        summaries.reserve(groups_.size());
        for (const Group& group : groups_)
            summaries.push_back({group.first->emojiName, group.count, group.includesCurrentUser});
        return summaries;
    }

private:
    struct Group {
        const Reaction* first;
        std::int64_t count;
        bool includesCurrentUser;
    };

    /// Of two of one list; of equal times the list's order decides.
    static bool isEarlier(const Reaction* left, const Reaction* right) {
        return std::pair(left->createAt, left) < std::pair(right->createAt, right);
    }

    std::vector<const Reaction*> byName_;
    std::vector<Group> groups_;
};

}  // namespace

std::vector<ReactionSummary> ReactionSummary::summarize(const std::vector<Reaction>& reactions,
                                                        std::string_view currentUserID) {
    return Summarizer().summaries(reactions, currentUserID);
}

std::string TimelineItem::id() const {
    if (const auto* const day = std::get_if<Foundation::Date>(&content))
        return "date-" + std::to_string(static_cast<std::int64_t>(day->secondsSince1970));
    if (const auto* const message = std::get_if<TimelineMessage>(&content)) return std::string(message->post.id);
    return "new-messages";
}

namespace Timeline {

std::vector<TimelineItem> items(Input input) {
    const auto order = orderOf(input.posts);
    const auto days = daysOf(order, input.calendar);
    constexpr std::int64_t forever = std::numeric_limits<std::int64_t>::max();
    std::int64_t readUntil = input.lastViewedAt.value_or(forever);
    std::vector<TimelineItem> items;
    items.reserve(order.size() + days.size() + 1);

    Summarizer summarizer;
    const Post* previous = nullptr;  // among the items, which stay where they are
    auto nextDay = days.begin();
    for (std::size_t i = 0; i < order.size(); ++i) {
        Post& post = input.posts[order[i].position];
        const bool isOwn = post.userID == input.currentUserID;
        if (nextDay != days.end() && nextDay->first == i) {
            items.push_back({Foundation::Date{static_cast<double>(nextDay->start)}});
            ++nextDay;
            previous = nullptr;
        }
        if (post.createAt > readUntil && takesDivider(post, isOwn)) {
            items.push_back({TimelineItem::NewMessages()});
            readUntil = forever;
            previous = nullptr;
        }
        const bool isContinuation = previous != nullptr && continues(*previous, post);
        const bool showsThreadFooter = input.showsThreadFooters && post.isRoot();
        auto delivery = deliveryOf(post, input.failedPostIDs);
        std::vector<ReactionSummary> reactions;
        if (const auto found = input.reactions.find(post.id); found != input.reactions.end())
            reactions = summarizer.summaries(found->second, input.currentUserID);
        // Made in place, the post moves once.
        previous = &items.emplace_back()
                        .content
                        .emplace<TimelineMessage>(std::move(post), std::move(reactions), isContinuation,
                                                  std::move(delivery), showsThreadFooter, isOwn)
                        .post;
    }
    return items;
}

}  // namespace Timeline

}  // namespace ChatModel

using namespace ChatModel;

std::size_t std::hash<ReactionSummary>::operator()(const ReactionSummary& summary) const noexcept {
    return Foundation::hashOf(summary.emojiName, summary.count, summary.includesCurrentUser);
}

std::size_t std::hash<TimelineMessage::Failed>::operator()(const TimelineMessage::Failed& failed) const noexcept {
    return Foundation::hashOf(failed.message);
}

std::size_t std::hash<TimelineMessage>::operator()(const TimelineMessage& message) const noexcept {
    return Foundation::hashOf(message.post, message.reactions, message.isContinuation, message.delivery,
                              message.showsThreadFooter, message.isOwn);
}

std::size_t std::hash<TimelineItem>::operator()(const TimelineItem& item) const noexcept {
    return Foundation::hashOf(item.content);
}

std::size_t std::hash<Timeline::Input>::operator()(const Timeline::Input& input) const noexcept {
    return Foundation::hashOf(input.posts, input.reactions, input.currentUserID, input.lastViewedAt,
                              input.failedPostIDs, input.showsThreadFooters, input.calendar);
}
