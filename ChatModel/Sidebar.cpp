#include "ChatModel/Sidebar.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>

#include "Foundation/Hash.h"
#include "Text/Collation.h"

namespace ChatModel {

std::vector<const SidebarChannel*> SidebarSection::visibleChannels(
    std::optional<std::string_view> selectedChannelID) const {
    std::vector<const SidebarChannel*> visible;
    for (const auto& channel : channels)
        if (channel.isUnread || channel.channel.id == selectedChannelID || (!category.collapsed && !channel.isClosed))
            visible.push_back(&channel);
    return visible;
}

namespace Sidebar {

namespace {

using Identifiers = absl::flat_hash_set<std::string_view>;
using SortKeyPrefix = Text::Collation::SortKeyPrefix;

/// A channel, the user's membership in it, and what is to be known of both before they are moved into a row.
struct Joined {
    Channel* channel = nullptr;
    ChannelMember* member = nullptr;  ///< null where the user is no member
    std::size_t rowsToMake = 0;
    std::int64_t recency = 0;
    std::string title;
    std::string sortKey;          ///< of the title; made when it is first needed
    SortKeyPrefix sortKeyPrefix;  ///< of the title, where a category is sorted by it
    bool isSortedByTitle = false;
    bool isMuted = false;
    bool isClosed = false;
};

struct Row {
    Joined* joined;
    std::size_t position;  ///< among those of its category, before they are sorted
    bool isMuted;
    SortKeyPrefix sortKeyPrefix;
};

using Rows = std::vector<Row>;

bool isByTitle(SidebarCategory::Sorting sorting) {
    return sorting == SidebarCategory::Sorting::alphabetical || sorting == SidebarCategory::Sorting::default_;
}

/// Has the processor fetch what is soon to be moved. Sorted rows find it all over the memory: to wait for each piece takes
/// longer than all else that is done for a row.
template <class Value>
void prefetch(const Value& value) {
    constexpr std::size_t cacheLine = 64;
    for (std::size_t offset = 0; offset < sizeof(Value); offset += cacheLine)
        __builtin_prefetch(reinterpret_cast<const char*>(&value) + offset);
}

/// Makes the sections of an input. Thousands of its records do not fit into a processor's cache: as far as that can be,
/// they are walked over once, and as they lie in memory.
class Assembly {
public:
    Assembly(Input input, std::string_view locale) : input_(std::move(input)), collation_(locale) {
        takeChannels();
        takeMembers();
        // All are found before the first one is moved, and its identifier with it.
        rows_.reserve(input_.categories.size());
        for (const auto& category : input_.categories)
            rows_.push_back(rowsOf(category));
        for (auto& joined : joined_)
            if (joined.isSortedByTitle) joined.sortKeyPrefix = collation_.sortKeyPrefix(joined.title);
    }

    std::vector<SidebarSection> sections() {
        std::vector<SidebarSection> sections(rows_.size());
        for (std::size_t i = 0; i < sections.size(); ++i) {
            sections[i].category = std::move(input_.categories[i]);
            sort(rows_[i], sections[i].category.sorting);
            fill(sections[i], rows_[i]);
        }
        return sections;
    }

private:
    void takeChannels() {
        const Identifiers closedPeers = closed("direct_channel_show");
        const Identifiers closedGroups = closed("group_channel_show");
        joined_.reserve(input_.channels.size());
        byChannelID_.reserve(input_.channels.size());
        for (auto& channel : input_.channels) {
            auto& joined = joined_.emplace_back();
            byChannelID_[channel.id] = &joined;
            joined.channel = &channel;
            joined.title = channel.title(input_.currentUserID, input_.peerNames);
            const bool countsRootPosts = input_.collapsedThreads && channel.lastRootPostAt >= 1;
            joined.recency = std::max(channel.createAt, countsRootPosts ? channel.lastRootPostAt : channel.lastPostAt);
            if (channel.kind == Channel::Kind::group)
                joined.isClosed = closedGroups.contains(channel.id);
            else if (const auto peer = channel.directPeerID(input_.currentUserID))
                joined.isClosed = closedPeers.contains(*peer);
        }
    }

    void takeMembers() {
        for (auto& member : input_.members) {
            const auto found = byChannelID_.find(member.channelID);
            if (found == byChannelID_.end()) continue;
            found->second->member = &member;
            found->second->isMuted = member.isMuted();
        }
    }

    /// The names in the preferences of this category that tell of closed conversations.
    Identifiers closed(std::string_view category) const {
        Identifiers names;
        for (const auto& preference : input_.preferences)
            if (preference.value == "false" && preference.category == category) names.insert(preference.name);
        return names;
    }

    Rows rowsOf(const SidebarCategory& category) {
        Rows rows;
        rows.reserve(category.channelIDs.size());
        for (const auto& id : category.channelIDs) {
            const auto found = byChannelID_.find(id);
            if (found == byChannelID_.end() || found->second->member == nullptr) continue;
            Joined& joined = *found->second;
            ++joined.rowsToMake;
            joined.isSortedByTitle |= isByTitle(category.sorting);
            rows.push_back({&joined, rows.size(), joined.isMuted, {}});
        }
        return rows;
    }

    void sort(Rows& rows, SidebarCategory::Sorting sorting) const {
        if (sorting == SidebarCategory::Sorting::recent)
            std::sort(rows.begin(), rows.end(), [](const Row& left, const Row& right) {
                return std::tie(right.joined->recency, left.position) < std::tie(left.joined->recency, right.position);
            });
        if (!isByTitle(sorting)) return;
        for (auto& row : rows)
            row.sortKeyPrefix = row.joined->sortKeyPrefix;
        std::sort(rows.begin(), rows.end(), [this](const Row& left, const Row& right) {
            if (left.isMuted != right.isMuted) return right.isMuted;
            if (const auto order = left.sortKeyPrefix <=> right.sortKeyPrefix; order != 0) return order < 0;
            return std::tie(sortKey(*left.joined), left.joined->title, left.position) <
                   std::tie(sortKey(*right.joined), right.joined->title, right.position);
        });
    }

    const std::string& sortKey(Joined& joined) const {
        if (joined.sortKey.empty()) joined.sortKey = collation_.sortKey(joined.title);
        return joined.sortKey;
    }

    void fill(SidebarSection& section, const Rows& rows) const {
        section.channels.reserve(rows.size());
        for (std::size_t i = 0; i < rows.size(); ++i) {
            prefetchAhead(rows, i);
            append(*rows[i].joined, section);
        }
    }

    /// What is prefetched farthest ahead tells where the rest is.
    static void prefetchAhead(const Rows& rows, std::size_t i) {
        constexpr std::size_t step = 4;
        const auto ahead = [&](std::size_t steps) { return rows[std::min(i + steps * step, rows.size() - 1)].joined; };
        prefetch(*ahead(4));
        prefetch(*ahead(2)->channel);
        prefetch(*ahead(2)->member);
        // Of the nodes of a map the first is known; the others were made with it, and lie near.
        if (const auto& props = ahead(1)->member->notifyProps; !props.empty()) prefetch(*props.begin());
    }

    void append(Joined& joined, SidebarSection& section) const {
        Channel& channel = *joined.channel;
        ChannelMember& member = *joined.member;
        const bool rootsAlone = input_.collapsedThreads;
        const std::int64_t mentions = rootsAlone ? member.mentionCountRoot : member.mentionCount;
        const std::int64_t seen = rootsAlone ? member.msgCountRoot : member.msgCount;
        const std::int64_t total = rootsAlone ? channel.totalMsgCountRoot : channel.totalMsgCount;
        const bool isUnread = mentions > 0 || (seen < total && !joined.isMuted);
        const bool isFavorite = section.category.kind == SidebarCategory::Kind::favorites;
        if (--joined.rowsToMake == 0)
            section.channels.emplace_back(std::move(channel), std::move(member), std::move(joined.title), isUnread,
                                          mentions, isFavorite, joined.isClosed);
        else
            section.channels.emplace_back(channel, member, joined.title, isUnread, mentions, isFavorite,
                                          joined.isClosed);
    }

    Input input_;
    Text::Collation collation_;
    std::vector<Joined> joined_;  ///< one per channel, in their order
    absl::flat_hash_map<std::string_view, Joined*> byChannelID_;
    std::vector<Rows> rows_;  ///< of each category
};

std::vector<const SidebarChannel*> visibleChannels(const std::vector<SidebarSection>& sections,
                                                   std::optional<std::string_view> selectedChannelID) {
    std::vector<const SidebarChannel*> visible;
    Identifiers seen;
    for (const auto& section : sections)
        for (const auto* channel : section.visibleChannels(selectedChannelID))
            if (seen.insert(channel->channel.id).second) visible.push_back(channel);
    return visible;
}

}  // namespace

std::vector<SidebarSection> sections(Input input, std::string_view locale) {
    return Assembly(std::move(input), locale).sections();
}

std::vector<const SidebarChannel*> unreadChannels(const std::vector<SidebarSection>& sections) {
    auto channels = visibleChannels(sections, std::nullopt);
    std::erase_if(channels, [](const SidebarChannel* channel) { return !channel->isUnread; });
    return channels;
}

const SidebarChannel* adjacentChannel(const std::vector<SidebarSection>& sections, Direction direction,
                                      std::optional<std::string_view> selectedChannelID, bool unreadOnly) {
    auto channels = visibleChannels(sections, selectedChannelID);
    if (direction == Direction::previous) std::reverse(channels.begin(), channels.end());
    const auto isSelected = [&](const SidebarChannel* channel) { return channel->channel.id == selectedChannelID; };
    const auto selected = std::find_if(channels.begin(), channels.end(), isSelected);
    if (selected != channels.end()) {
        std::rotate(channels.begin(), selected + 1, channels.end());
        channels.pop_back();
    }
    const auto found = std::find_if(channels.begin(), channels.end(),
                                    [&](const SidebarChannel* channel) { return !unreadOnly || channel->isUnread; });
    return found == channels.end() ? nullptr : *found;
}

}  // namespace Sidebar

}  // namespace ChatModel

std::size_t std::hash<ChatModel::SidebarChannel>::operator()(const ChatModel::SidebarChannel& channel) const noexcept {
    return Foundation::hashOf(channel.channel, channel.member, channel.title, channel.isUnread, channel.mentionCount,
                              channel.isFavorite, channel.isClosed);
}

std::size_t std::hash<ChatModel::SidebarSection>::operator()(const ChatModel::SidebarSection& section) const noexcept {
    return Foundation::hashOf(section.category, section.channels);
}

std::size_t std::hash<ChatModel::Sidebar::Input>::operator()(const ChatModel::Sidebar::Input& input) const noexcept {
    return Foundation::hashOf(input.currentUserID, input.collapsedThreads, input.categories, input.channels,
                              input.members, input.peerNames, input.preferences);
}
