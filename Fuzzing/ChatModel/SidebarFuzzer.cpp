#include "Support.h"

#include <algorithm>
#include <map>

#include "ChatModel/Records.h"

using namespace ChatModel;
using Fuzzing::check;

namespace {

using Identifiers = std::vector<Identifier>;

Identifiers identifiers(const std::vector<const SidebarChannel*>& channels) {
    Identifiers ids;
    for (const auto* const channel : channels)
        ids.push_back(channel->channel.id);
    return ids;
}

/// Whether the rows are the listed channels that there are, in the category's order where that is by hand.
void checkRows(const SidebarSection& section, const Sidebar::Input& input) {
    std::map<Identifier, const Channel*> channels;
    std::map<Identifier, const ChannelMember*> members;
    for (const auto& channel : input.channels)
        channels[channel.id] = &channel;
    for (const auto& member : input.members)
        members[member.channelID] = &member;
    Identifiers expected, found;
    for (const auto& id : section.category.channelIDs)
        if (channels.contains(id) && members.contains(id)) expected.push_back(id);
    for (const auto& row : section.channels) {
        found.push_back(row.channel.id);
        check(channels.contains(row.channel.id) && row.channel == *channels[row.channel.id], "a channel is as it came");
        check(members.contains(row.channel.id) && row.member == *members[row.channel.id], "so is its membership");
        check(row.title == row.channel.title(input.currentUserID, input.peerNames), "and its title");
        check(row.isFavorite == (section.category.kind == SidebarCategory::Kind::favorites), "and its category");
    }
    using Sorting = SidebarCategory::Sorting;
    const auto sorting = section.category.sorting;
    if (sorting == Sorting::manual) check(found == expected, "by hand means in the category's order");
    if (sorting == Sorting::alphabetical || sorting == Sorting::default_)
        check(std::is_partitioned(section.channels.begin(), section.channels.end(),
                                  [](const auto& row) { return !row.member.isMuted(); }),
              "what is muted stands behind the rest");
    std::sort(expected.begin(), expected.end());
    std::sort(found.begin(), found.end());
    check(found == expected, "a row for each listed channel that there is");
}

void checkVisible(const SidebarSection& section, std::optional<std::string_view> selected) {
    auto next = section.channels.begin();
    for (const auto* const channel : section.visibleChannels(selected)) {
        next = std::find_if(next, section.channels.end(), [&](const auto& row) { return &row == channel; });
        check(next != section.channels.end(), "what is visible is of the section, in its order");
        ++next;
    }
    for (const auto& row : section.channels) {
        const auto visible = section.visibleChannels(selected);
        const bool isVisible = std::find(visible.begin(), visible.end(), &row) != visible.end();
        if (row.isUnread || row.channel.id == selected) check(isVisible, "what is unread or selected is visible");
        if (isVisible && !row.isUnread && row.channel.id != selected)
            check(!row.isClosed && !section.category.collapsed, "what is closed is not visible");
    }
}

bool isInSeveral(const std::vector<SidebarSection>& sections) {
    std::map<Identifier, const SidebarSection*> of;
    for (const auto& section : sections)
        for (const auto& row : section.channels)
            if (of.try_emplace(row.channel.id, &section).first->second != &section) return true;
    return false;
}

/// From one channel to the next all of them are met, each once, and back.
void checkWalk(const std::vector<SidebarSection>& sections, Identifiers expected, bool unreadOnly) {
    using enum Sidebar::Direction;
    Identifiers walked;
    std::optional<std::string_view> selected;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const auto* const found = adjacentChannel(sections, next, selected, unreadOnly);
        if (found == nullptr) break;
        if (selected && expected.size() > 1) {
            const auto* const back = adjacentChannel(sections, previous, found->channel.id, unreadOnly);
            check(back != nullptr && back->channel.id == *selected, "the way back is the way");
        }
        selected = found->channel.id;
        walked.emplace_back(*selected);
    }
    check(walked == expected, "a walk meets each channel once, in order");
    const auto* const first = adjacentChannel(sections, next, selected, unreadOnly);
    check(expected.size() > 1 ? first != nullptr && first->channel.id == expected.front() : first == nullptr,
          "and comes back to the first");
}

}  // namespace

/// The sections of a sidebar, and moving about in them.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider provider(data, size);
    const auto input = Fuzzing::sidebarInput(provider, [&] { return Fuzzing::identifier(provider); });
    const auto sections = Sidebar::sections(input, "en");
    check(sections.size() == input.categories.size(), "a section for each category");
    Identifiers visible;
    for (std::size_t i = 0; i < sections.size(); ++i) {
        check(sections[i].category == input.categories[i], "sections stand in the categories' order");
        checkRows(sections[i], input);
        for (const auto selected : {std::optional<std::string_view>(), std::optional<std::string_view>("a")})
            checkVisible(sections[i], selected);
        for (const auto& id : identifiers(sections[i].visibleChannels(std::nullopt)))
            if (std::find(visible.begin(), visible.end(), id) == visible.end()) visible.push_back(id);
    }
    // One of several sections moves to the first of them when it is selected, and a walk may then turn in a circle.
    if (isInSeveral(sections)) return 0;
    checkWalk(sections, visible, false);
    checkWalk(sections, identifiers(Sidebar::unreadChannels(sections)), true);
    return 0;
}
