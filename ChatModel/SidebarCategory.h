#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "ChatModel/Identifier.h"
#include "Foundation/WireNames.h"

namespace ChatModel {

/// A category of the user's sidebar in a team, which lists channels:
///
///     {"id":"s1","team_id":"t1","type":"custom","display_name":"Projects","sorting":"alpha","muted":false,
///      "collapsed":false,"channel_ids":["c1","c2"]}
///
/// Every key is required.
struct SidebarCategory {
    enum class Kind { favorites, channels, directMessages, custom };

    /// `default` is a keyword, hence the underscore.
    enum class Sorting { default_, manual, recent, alphabetical };

    Identifier id;
    Identifier teamID;
    Kind kind = Kind::favorites;
    std::string displayName;
    Sorting sorting = Sorting::default_;
    bool muted = false;
    bool collapsed = false;
    std::vector<Identifier> channelIDs;  ///< in the order that the user gave them by hand

    /// Copies with one member changed.
    SidebarCategory withCollapsed(bool changed) const;
    SidebarCategory withChannelIDs(std::vector<Identifier> changed) const;

    friend bool operator==(const SidebarCategory&, const SidebarCategory&) = default;
};

/// The server's answer that lists a team's categories:
///
///     {"categories":[],"order":["s1","s2"]}
///
/// Both keys are required.
struct OrderedSidebarCategories {
    std::vector<SidebarCategory> categories;
    std::vector<Identifier> order;  ///< the categories' identifiers, as they are to be displayed

    friend bool operator==(const OrderedSidebarCategories&, const OrderedSidebarCategories&) = default;
};

}  // namespace ChatModel

template <>
inline constexpr std::array<std::string_view, 4> Foundation::wireNames<ChatModel::SidebarCategory::Kind> = {
    "favorites", "channels", "direct_messages", "custom"};

template <>
inline constexpr std::array<std::string_view, 4> Foundation::wireNames<ChatModel::SidebarCategory::Sorting> = {
    "", "manual", "recent", "alpha"};

template <>
struct std::hash<ChatModel::SidebarCategory> {
    std::size_t operator()(const ChatModel::SidebarCategory& category) const noexcept;
};

template <>
struct std::hash<ChatModel::OrderedSidebarCategories> {
    std::size_t operator()(const ChatModel::OrderedSidebarCategories& answer) const noexcept;
};
