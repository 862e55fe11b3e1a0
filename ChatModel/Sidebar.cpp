#include "ChatModel/Sidebar.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
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

/// A channel that categories list, and what is to be known of it before it is moved into a row.
struct Listed {
    Identifier id;
    Channel* channel = nullptr;       ///< null where there is none
    ChannelMember* member = nullptr;  ///< null where the user is no member
    std::string title;
    SortKeyPrefix sortKeyPrefix;  ///< of the title, where a category is sorted by it
    std::int64_t recency = 0;
    std::uint32_t rowsToMake = 0;
    bool isSortedByTitle = false;
    bool isMuted = false;
    bool isClosed = false;
};

using Index = std::uint32_t;

/// Hashes and compares channels among those listed by their identifiers.
struct ByID {
    using is_transparent = void;
    const std::vector<Listed>* listed;

    std::string_view idOf(Index index) const { return (*listed)[index].id; }
    std::string_view idOf(std::string_view id) const { return id; }
    std::size_t operator()(const auto& one) const { return absl::Hash<std::string_view>()(idOf(one)); }
    bool operator()(const auto& left, const auto& right) const { return idOf(left) == idOf(right); }
};

struct Row {
    Listed* listed;
    Channel* channel;
    ChannelMember* member;
    std::size_t position;  ///< among those of its category, before they are sorted
    bool isMuted;
    SortKeyPrefix sortKeyPrefix;
};

using Rows = std::vector<Row>;

bool isByTitle(SidebarCategory::Sorting sorting) {
    return sorting == SidebarCategory::Sorting::alphabetical || sorting == SidebarCategory::Sorting::default_;
}

std::int64_t recencyOf(const Channel& channel, bool countsRootPosts) {
    const bool isByRootPosts = countsRootPosts && channel.lastRootPostAt >= 1;
    return std::max(channel.createAt, isByRootPosts ? channel.lastRootPostAt : channel.lastPostAt);
}

/// Asks for all of an object ahead of its use.
template <class Object>
void prefetch(const Object* object) {
    constexpr std::size_t cacheLine = 64;
    const auto* const bytes = reinterpret_cast<const char*>(object);
    for (std::size_t offset = 0; offset < sizeof(Object); offset += cacheLine)
        __builtin_prefetch(bytes + offset, 1);
}

/// Makes the sections of an input. Thousands of its records do not fit into a processor's cache: as far as that can be,
/// they are walked over once, and as they lie in memory.
class Assembly {
public:
    Assembly(Input input, std::string_view locale) : input_(std::move(input)), collation_(locale) {
        takeCategories();
        takeChannels();
        takeMembers();
    }

    std::vector<SidebarSection> sections() {
        // All rows are known before the first record is moved.
        std::vector<Rows> rows;
        for (auto first = entries_.cbegin(); const auto& category : input_.categories) {
            const auto last = first + static_cast<std::ptrdiff_t>(category.channelIDs.size());
            rows.push_back(rowsOf(first, last));
            first = last;
        }
        std::vector<SidebarSection> sections(rows.size());
        for (std::size_t i = 0; i < sections.size(); ++i) {
            sections[i].category = std::move(input_.categories[i]);
            sort(rows[i], sections[i].category.sorting);
            append(rows[i], sections[i]);
        }
        return sections;
    }

private:
    using Entries = std::vector<Index>;

    void takeCategories() {
        std::size_t count = 0;
        for (const auto& category : input_.categories)
            count += category.channelIDs.size();
        listed_.reserve(count);
        entries_.reserve(count);
        listedByID_.reserve(count);
        for (const auto& category : input_.categories)
            for (const auto& id : category.channelIDs) {
                const Index index = *listedByID_.lazy_emplace(id, [&](const auto& construct) {
                    listed_.emplace_back().id = id;
                    construct(static_cast<Index>(listed_.size() - 1));
                });
                listed_[index].isSortedByTitle |= isByTitle(category.sorting);
                entries_.push_back(index);
            }
    }

    void takeChannels() {
        const Identifiers closedPeers = closed("direct_channel_show");
        const Identifiers closedGroups = closed("group_channel_show");
        for (auto& channel : input_.channels) {
            const auto found = listedByID_.find(channel.id);
            if (found == listedByID_.end()) continue;
            Listed& listed = listed_[*found];
            listed.channel = &channel;
            listed.title = channel.title(input_.currentUserID, input_.peerNames);
            if (listed.isSortedByTitle) listed.sortKeyPrefix = collation_.sortKeyPrefix(listed.title);
            listed.recency = recencyOf(channel, input_.collapsedThreads);
            const auto peer = channel.directPeerID(input_.currentUserID);
            listed.isClosed = channel.kind == Channel::Kind::group ? closedGroups.contains(channel.id)
                                                                   : peer && closedPeers.contains(*peer);
        }
    }

    void takeMembers() {
        for (auto& member : input_.members) {
            const auto found = listedByID_.find(member.channelID);
            if (found == listedByID_.end()) continue;
            Listed& listed = listed_[*found];
            listed.member = &member;
            listed.isMuted = member.isMuted();
        }
    }

    /// The names in the preferences of this category that tell of closed conversations.
    Identifiers closed(std::string_view category) const {
        Identifiers names;
        for (const auto& preference : input_.preferences)
            if (preference.value == "false" && preference.category == category) names.insert(preference.name);
        return names;
    }

    Rows rowsOf(Entries::const_iterator first, Entries::const_iterator last) {
        Rows rows;
        rows.reserve(static_cast<std::size_t>(last - first));
        for (; first != last; ++first) {
            Listed& listed = listed_[*first];
            if (listed.channel == nullptr || listed.member == nullptr) continue;
            ++listed.rowsToMake;
            rows.push_back({&listed, listed.channel, listed.member, rows.size(), listed.isMuted, listed.sortKeyPrefix});
        }
        return rows;
    }

    void sort(Rows& rows, SidebarCategory::Sorting sorting) const {
        if (sorting == SidebarCategory::Sorting::recent)
            std::sort(rows.begin(), rows.end(), [](const Row& left, const Row& right) {
                return std::tie(right.listed->recency, left.position) < std::tie(left.listed->recency, right.position);
            });
        if (!isByTitle(sorting)) return;
        const auto isBefore = [](const Row& left, const Row& right) {
            return std::tie(left.isMuted, left.sortKeyPrefix) < std::tie(right.isMuted, right.sortKeyPrefix);
        };
        std::sort(rows.begin(), rows.end(), isBefore);
        for (auto first = rows.begin(); first != rows.end();) {
            const auto last = std::find_if(first, rows.end(), [&](const Row& row) { return isBefore(*first, row); });
            if (last - first > 1) sortWholly(first, last);
            first = last;
        }
    }

    /// Sorts rows whose sort keys begin alike.
    void sortWholly(Rows::iterator first, Rows::iterator last) const {
        std::vector<std::pair<std::string, Row>> keyed;
        for (auto row = first; row != last; ++row)
            keyed.emplace_back(collation_.sortKey(row->listed->title), *row);
        std::sort(keyed.begin(), keyed.end(), [](const auto& left, const auto& right) {
            return std::tie(left.first, left.second.listed->title, left.second.position) <
                   std::tie(right.first, right.second.listed->title, right.second.position);
        });
        std::transform(keyed.begin(), keyed.end(), first, [](const auto& one) { return one.second; });
    }

    void append(const Rows& rows, SidebarSection& section) const {
        // A row's records lie anywhere in memory. Waiting for each would take most of the time that moving them does.
        constexpr std::size_t rowsAhead = 12;
        section.channels.reserve(rows.size());
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (i + rowsAhead < rows.size()) {
                prefetch(rows[i + rowsAhead].listed);
                prefetch(rows[i + rowsAhead].channel);
                prefetch(rows[i + rowsAhead].member);
            }
            append(*rows[i].listed, section);
        }
    }

    void append(Listed& listed, SidebarSection& section) const {
        Channel& channel = *listed.channel;
        ChannelMember& member = *listed.member;
        const bool rootsAlone = input_.collapsedThreads;
        const std::int64_t mentions = rootsAlone ? member.mentionCountRoot : member.mentionCount;
        const std::int64_t seen = rootsAlone ? member.msgCountRoot : member.msgCount;
        const std::int64_t total = rootsAlone ? channel.totalMsgCountRoot : channel.totalMsgCount;
        const bool isUnread = mentions > 0 || (seen < total && !listed.isMuted);
        const bool isFavorite = section.category.kind == SidebarCategory::Kind::favorites;
        if (--listed.rowsToMake == 0)
            section.channels.emplace_back(std::move(channel), std::move(member), std::move(listed.title), isUnread,
                                          mentions, isFavorite, listed.isClosed);
        else
            section.channels.emplace_back(channel, member, listed.title, isUnread, mentions, isFavorite,
                                          listed.isClosed);
    }

    Input input_;
    Text::Collation collation_;
    std::vector<Listed> listed_;
    Entries entries_;  ///< of all categories, one behind the other, among those listed
    absl::flat_hash_set<Index, ByID, ByID> listedByID_{0, ByID{&listed_}, ByID{&listed_}};
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
