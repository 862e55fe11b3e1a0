#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ChatModel/Channel.h"
#include "ChatModel/ChannelMember.h"
#include "ChatModel/Identifier.h"
#include "ChatModel/Preference.h"
#include "ChatModel/SidebarCategory.h"

namespace ChatModel {

/// A channel in a category of the sidebar.
struct SidebarChannel {
    Channel channel;
    ChannelMember member;
    std::string title;
    bool isUnread = false;
    std::int64_t mentionCount = 0;
    bool isFavorite = false;  ///< whether the category is that of the favourites
    bool isClosed = false;    ///< whether the user has closed the conversation; of direct and group channels alone

    friend bool operator==(const SidebarChannel&, const SidebarChannel&) = default;
};

/// A category of the sidebar with its channels, sorted.
struct SidebarSection {
    SidebarCategory category;
    std::vector<SidebarChannel> channels;

    /// The channels to draw, in their order: what is unread, the selected channel, and where the category is not
    /// collapsed, what is not closed. Absent: no channel is selected. Valid as long as the section is unchanged.
    std::vector<const SidebarChannel*> visibleChannels(std::optional<std::string_view> selectedChannelID) const;

    friend bool operator==(const SidebarSection&, const SidebarSection&) = default;
};

}  // namespace ChatModel

/// The list of channels that the user sees, and moving about in it.
namespace ChatModel::Sidebar {

/// Of channels with the same identifier the last one counts, and of memberships in the same channel.
struct Input {
    Identifier currentUserID;
    bool collapsedThreads = false;            ///< whether replies are collapsed into threads, and so do not count here
    std::vector<SidebarCategory> categories;  ///< in the order in which they are displayed
    std::vector<Channel> channels;
    std::vector<ChannelMember> members;
    std::map<Identifier, std::string, std::less<>> peerNames;  ///< display names by user identifier
    std::vector<Preference> preferences;

    friend bool operator==(const Input&, const Input&) = default;
};

enum class Direction { previous, next };

/// One section per category, in their order, with a channel for each identifier of the category's that has both a
/// channel and a membership; one that is listed several times stands several times. A conversation is closed where any
/// preference says so.
///
/// A category sorted by hand keeps its own order. One sorted by recency shows the most recent first. In all others
/// channels that are muted stand behind those that are not, both by title in the locale's order (`Text::Collation`), then
/// by the title's bytes. Equals keep the category's own order.
///
/// Channels and memberships are moved out of the input, but for those that stand several times. `locale` is a BCP 47
/// tag. Throws `Text::UnknownLocale`.
std::vector<SidebarSection> sections(Input input, std::string_view locale);

/// The visible channels that are unread, in the order in which they are drawn. One that stands in several sections
/// counts where it stands first, here as below. Valid as long as the sections are unchanged, here as below.
std::vector<const SidebarChannel*> unreadChannels(const std::vector<SidebarSection>& sections);

/// The visible channel next to the selected one in this direction, from the last on to the first and back; where
/// `unreadOnly` is set, the nearest that is unread. Where none is selected, or the selected one is in no section, the
/// first in this direction. Null where there is no such channel beside the selected one.
const SidebarChannel* adjacentChannel(const std::vector<SidebarSection>& sections, Direction direction,
                                      std::optional<std::string_view> selectedChannelID, bool unreadOnly = false);

}  // namespace ChatModel::Sidebar

template <>
struct std::hash<ChatModel::SidebarChannel> {
    std::size_t operator()(const ChatModel::SidebarChannel& channel) const noexcept;
};

template <>
struct std::hash<ChatModel::SidebarSection> {
    std::size_t operator()(const ChatModel::SidebarSection& section) const noexcept;
};

template <>
struct std::hash<ChatModel::Sidebar::Input> {
    std::size_t operator()(const ChatModel::Sidebar::Input& input) const noexcept;
};
