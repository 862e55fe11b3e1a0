#include "Support.h"

#include <algorithm>
#include <map>

#include "ChatModel/Records.h"

using namespace ChatModel;
using Fuzzing::check;

namespace {

void checkReactions(const std::vector<ReactionSummary>& summaries, const std::vector<Reaction>& reactions,
                    std::string_view user) {
    std::map<std::string, std::pair<std::int64_t, bool>> expected;
    for (const auto& reaction : reactions) {
        auto& [count, isOwn] = expected[reaction.emojiName];
        ++count;
        isOwn = isOwn || reaction.userID == user;
    }
    check(summaries.size() == expected.size(), "an emoji is told once");
    for (const auto& [name, count, isOwn] : summaries)
        check(expected[name] == std::pair(count, isOwn), "an emoji is told as often as it was used");
}

/// What must hold of the rows, given the posts in the order of time.
void checkRows(const std::vector<TimelineItem>& items, const std::vector<const Post*>& posts,
               const Timeline::Input& input) {
    const auto isUnread = [&](const Post* post) {
        return input.lastViewedAt && post->createAt > *input.lastViewedAt &&
               (post->userID != input.currentUserID || post->isFromWebhook()) && !post->isNotificationSuppressed();
    };
    const auto firstUnread = std::find_if(posts.begin(), posts.end(), isUnread);
    auto next = posts.begin();
    const Post* previous = nullptr;  // in the row above
    std::optional<std::int64_t> day;
    bool isDivided = false;
    for (const auto& item : items) {
        if (const auto* const date = std::get_if<Foundation::Date>(&item.content)) {
            const auto start = static_cast<std::int64_t>(date->secondsSince1970);
            check(!day || start != *day, "a day is told once");
            check(!day || start > *day || input.calendar.timeZone() != "UTC", "days rise");
            day = start;
            previous = nullptr;
        } else if (std::holds_alternative<TimelineItem::NewMessages>(item.content)) {
            check(next == firstUnread && next != posts.end() && !isDivided, "one divider, above the first unread post");
            isDivided = true;
            previous = nullptr;
        } else {
            const auto& message = std::get<TimelineMessage>(item.content);
            check(next != posts.end() && message.post == **next, "each post once, in the order of time");
            check(day == input.calendar.day((*next)->createAt).start, "a post stands below its day");
            check(isDivided || next != firstUnread, "what is unread stands below the divider");
            check(message.isOwn == (message.post.userID == input.currentUserID), "a post is its author's");
            if (message.isContinuation)
                check(previous != nullptr && previous->userID == message.post.userID &&
                          message.post.createAt - previous->createAt <= Timeline::mergeInterval,
                      "a post continues one of its author's");
            const auto reactions = input.reactions.find(message.post.id);
            checkReactions(message.reactions,
                           reactions == input.reactions.end() ? std::vector<Reaction>() : reactions->second,
                           input.currentUserID);
            previous = &message.post;
            ++next;
        }
    }
    check(next == posts.end(), "no post is lost");
    check(items.empty() || std::holds_alternative<TimelineMessage>(items.back().content),
          "nothing ends without a post");
}

}  // namespace

/// The rows of a view of messages.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider provider(data, size);
    auto input = Fuzzing::timelineInput(provider, [&] { return Fuzzing::identifier(provider); });
    for (std::size_t i = 0; i < input.posts.size(); ++i)
        input.posts[i].message = std::to_string(i);
    std::vector<const Post*> posts;
    for (const auto& post : input.posts)
        posts.push_back(&post);
    // Of equal times their order in the list decides.
    std::sort(posts.begin(), posts.end(), [](const Post* left, const Post* right) {
        return std::pair(left->createAt, left) < std::pair(right->createAt, right);
    });
    const auto items = Timeline::items(input);
    checkRows(items, posts, input);
    const auto again = Timeline::items(input);
    check(again == items, "rows that are made again are equal");
    for (std::size_t i = 0; i < items.size(); ++i)
        check(std::hash<TimelineItem>()(items[i]) == std::hash<TimelineItem>()(again[i]), "equal rows hash alike");
    return 0;
}
