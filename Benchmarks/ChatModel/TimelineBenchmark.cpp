#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ChatModel/ServerJSON.h"
#include "ChatModel/Timeline.h"
#include "Page.h"
#include "Support/Comparison.h"

// A channel's posts made into rows, beside sorting and moving the same posts.

namespace {

using ChatModel::Post;
using ChatModel::TimelineItem;
using ChatModel::TimelineMessage;
using ChatModel::Timeline::Input;

using Posts = std::vector<Post>;

constexpr auto isEarlier = [](const Post& left, const Post& right) { return left.createAt < right.createAt; };

Posts sorted(Posts posts) {
    std::stable_sort(posts.begin(), posts.end(), isEarlier);
    return posts;
}

Post* postOf(Post& post) {
    return &post;
}

Post* postOf(TimelineItem& item) {
    auto* const message = std::get_if<TimelineMessage>(&item.content);
    return message == nullptr ? nullptr : &message->post;
}

/// The posts are lent to each round and taken back after it, while the clock stands still. Were they copied for each,
/// what freeing the last copy has left to the allocator would be paid for by whoever allocates next.
class Channel {
public:
    /// The last tenth of the posts, which are newest first, is unread.
    explicit Channel(Posts posts) : posts_(std::move(posts)), positions_(posts_.size()) {
        for (std::size_t i = 0; i < positions_.size(); ++i)
            positions_[i] = i;
        std::stable_sort(positions_.begin(), positions_.end(), [this](std::size_t left, std::size_t right) {
            return isEarlier(posts_[left], posts_[right]);
        });
        for (const auto& post : posts_)
            if (!post.metadata.reactions.empty()) input_.reactions[post.id] = post.metadata.reactions;
        input_.currentUserID = posts_.front().userID;
        input_.lastViewedAt = posts_[posts_.size() / 10].createAt;
        input_.showsThreadFooters = true;
        input_.calendar = Time::Calendar::in("America/New_York").value();
    }

    Posts lend() { return std::move(posts_); }

    Input lendAsInput() {
        Input input = input_;
        input.posts = lend();
        return input;
    }

    template <class Row>
    void takeBack(std::vector<Row> rows) {
        posts_.clear();
        posts_.resize(positions_.size());
        auto position = positions_.begin();
        for (auto& row : rows)
            if (Post* const post = postOf(row)) posts_[*position++] = std::move(*post);
    }

private:
    Posts posts_;
    std::vector<std::size_t> positions_;  // where each post stood, in the order of time
    Input input_;                         // but for the posts
};

template <class Lend, class Make>
Comparison::Operation measured(std::shared_ptr<Channel> channel, Lend lend, Make make) {
    return [=](benchmark::State& state) {
        for (auto _ : state) {
            state.PauseTiming();
            auto given = ((*channel).*lend)();
            state.ResumeTiming();
            auto rows = make(std::move(given));
            benchmark::DoNotOptimize(rows.data());
            state.PauseTiming();
            channel->takeBack(std::move(rows));
            state.ResumeTiming();
        }
    };
}

Comparison timeline(const std::string& what, Posts posts) {
    const auto channel = std::make_shared<Channel>(std::move(posts));
    return {"the timeline of " + what, measured(channel, &Channel::lendAsInput, ChatModel::Timeline::items),
            "std::stable_sort of " + what, measured(channel, &Channel::lend, sorted), 2.0};
}

/// The posts, newest first, at equal intervals.
Posts spaced(Posts posts, std::int64_t milliseconds) {
    std::int64_t time = posts.front().createAt;
    for (auto& post : posts)
        post.createAt = time -= milliseconds;
    return posts;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr std::int64_t day = 86'400'000;
    const auto posts = ChatModel::ServerJSON<Post>::decodeList(pageOfPosts(100'000));
    const auto newest = [&](std::ptrdiff_t count) { return Posts(posts.begin(), posts.begin() + count); };
    // A round of these takes as long as hundreds elsewhere.
    std::string repetitions = "--benchmark_repetitions=40";
    std::vector<char*> arguments = {argv[0], repetitions.data()};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    const std::array<Comparison, 3> timelines = {timeline("1,000 posts", newest(1'000)),
                                                 timeline("10,000 posts", newest(10'000)),
                                                 timeline("100,000 posts", posts)};
    std::vector<Comparison> comparisons(timelines.begin(), timelines.end());
    comparisons.push_back(timeline("1,000 posts, one a day", spaced(newest(1'000), day)));
    return compare(static_cast<int>(arguments.size()), arguments.data(), comparisons,
                   {{"the timeline of 1,000 to 100,000 posts", "std::stable_sort", timelines, 1.15}});
}
