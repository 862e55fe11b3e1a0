#pragma once

#include <string>
#include <vector>

#include "ChatModel/Sidebar.h"
#include "ChatModel/Timeline.h"
#include "Support.h"

/// What views are made of, from few identifiers, so that records meet. Every name of text comes from `text()`.
namespace Fuzzing {

inline std::string identifier(FuzzedDataProvider& input) {
    return std::string(1, input.ConsumeIntegralInRange('a', 'f'));
}

/// A time, close to others as a rule.
inline std::int64_t instant(FuzzedDataProvider& input) {
    constexpr std::int64_t hour = 3'600'000;
    if (input.ConsumeIntegralInRange(0, 15) == 0) return input.ConsumeIntegral<std::int64_t>();
    return 1'793'000'000'000 + input.ConsumeIntegralInRange<std::int64_t>(-48, 48) * hour / 2 +
           input.ConsumeIntegralInRange<std::int64_t>(-2, 2);
}

template <class Text>
ChatModel::Post post(FuzzedDataProvider& input, Text&& text) {
    ChatModel::Post post;
    post.id = identifier(input);
    post.rootID = input.ConsumeBool() ? "" : identifier(input);
    post.userID = identifier(input);
    post.createAt = instant(input);
    post.message = text();
    post.type = input.PickValueInArray({"", "", "system_join_channel", "system_ephemeral", "custom"});
    post.pendingPostID = input.ConsumeBool() ? "" : post.id;
    post.replyCount = input.ConsumeIntegralInRange(-1, 3);
    post.lastReplyAt = instant(input);
    post.deleteAt = input.ConsumeIntegralInRange(0, 1);
    post.editAt = input.ConsumeIntegralInRange(0, 1);
    if (input.ConsumeBool()) post.isFollowing = input.ConsumeBool();
    if (input.ConsumeBool()) post.props["from_webhook"] = input.PickValueInArray({"true", "false"});
    if (input.ConsumeBool()) post.props["override_username"] = text();
    if (input.ConsumeBool()) post.props["silent_notification"] = input.ConsumeBool();
    return post;
}

template <class Text>
ChatModel::Timeline::Input timelineInput(FuzzedDataProvider& input, Text&& text) {
    ChatModel::Timeline::Input made;
    constexpr const char* zones[] = {"UTC", "Europe/Berlin", "America/Havana", "Pacific/Apia"};
    made.calendar = Time::Calendar::in(input.PickValueInArray(zones)).value();
    made.currentUserID = identifier(input);
    made.showsThreadFooters = input.ConsumeBool();
    if (input.ConsumeBool()) made.lastViewedAt = instant(input);
    if (input.ConsumeBool()) made.failedPostIDs.emplace(identifier(input), text());
    for (int count = input.ConsumeIntegralInRange(0, 8); count > 0; --count) {
        const std::string postID = identifier(input);
        made.reactions[postID].push_back({identifier(input), postID, text(), instant(input)});
    }
    while (input.remaining_bytes() > 0 && made.posts.size() < 64)
        made.posts.push_back(post(input, text));
    return made;
}

template <class Text>
ChatModel::Sidebar::Input sidebarInput(FuzzedDataProvider& input, Text&& text) {
    using namespace ChatModel;
    const auto number = [&] { return input.ConsumeIntegralInRange(-1, 3); };
    Sidebar::Input made;
    made.currentUserID = identifier(input);
    made.collapsedThreads = input.ConsumeBool();
    for (int count = input.ConsumeIntegralInRange(0, 4); count > 0; --count) {
        SidebarCategory category;
        category.kind = static_cast<SidebarCategory::Kind>(input.ConsumeIntegralInRange(0, 3));
        category.sorting = static_cast<SidebarCategory::Sorting>(input.ConsumeIntegralInRange(0, 3));
        category.displayName = text();
        category.collapsed = input.ConsumeBool();
        for (int ids = input.ConsumeIntegralInRange(0, 6); ids > 0; --ids)
            category.channelIDs.push_back(identifier(input));
        made.categories.push_back(category);
    }
    for (int count = input.ConsumeIntegralInRange(0, 3); count > 0; --count)
        made.preferences.push_back({input.PickValueInArray({"direct_channel_show", "group_channel_show"}),
                                    identifier(input), input.PickValueInArray({"true", "false"})});
    if (input.ConsumeBool()) made.peerNames.emplace(identifier(input), text());
    while (input.remaining_bytes() > 0 && made.channels.size() + made.members.size() < 32) {
        if (input.ConsumeBool()) {
            ChannelMember member{identifier(input), 0, number(), number(), number(), number(), {}};
            if (input.ConsumeBool()) member.notifyProps["mark_unread"] = "mention";
            made.members.push_back(std::move(member));
            continue;
        }
        Channel channel;
        channel.id = identifier(input);
        channel.kind = static_cast<Channel::Kind>(input.ConsumeIntegralInRange(0, 3));
        channel.name = identifier(input) + "__" + identifier(input);
        channel.displayName = text();
        channel.createAt = number();
        channel.lastPostAt = number();
        channel.lastRootPostAt = number();
        channel.totalMsgCount = number();
        channel.totalMsgCountRoot = number();
        made.channels.push_back(channel);
    }
    return made;
}

}  // namespace Fuzzing
