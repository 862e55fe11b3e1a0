#include "ChatModel/SidebarCategory.h"

#include <utility>

#include "ChatModel/EntityCoding.h"

using ChatModel::OrderedSidebarCategories;
using ChatModel::SidebarCategory;

template <>
constexpr auto Foundation::fields<SidebarCategory> = std::tuple{
    required("id", &SidebarCategory::id),
    required("team_id", &SidebarCategory::teamID),
    required("type", &SidebarCategory::kind),
    required("display_name", &SidebarCategory::displayName),
    required("sorting", &SidebarCategory::sorting),
    required("muted", &SidebarCategory::muted),
    required("collapsed", &SidebarCategory::collapsed),
    required("channel_ids", &SidebarCategory::channelIDs),
};

template <>
constexpr auto Foundation::fields<OrderedSidebarCategories> = std::tuple{
    required("categories", &OrderedSidebarCategories::categories),
    required("order", &OrderedSidebarCategories::order),
};

template struct ChatModel::ServerJSON<SidebarCategory>;
template struct ChatModel::ServerJSON<OrderedSidebarCategories>;

SidebarCategory SidebarCategory::withCollapsed(bool changed) const {
    auto copy = *this;
    copy.collapsed = changed;
    return copy;
}

SidebarCategory SidebarCategory::withChannelIDs(std::vector<Identifier> changed) const {
    auto copy = *this;
    copy.channelIDs = std::move(changed);
    return copy;
}

std::size_t std::hash<SidebarCategory>::operator()(const SidebarCategory& category) const noexcept {
    return Foundation::hashFields(category);
}

std::size_t std::hash<OrderedSidebarCategories>::operator()(const OrderedSidebarCategories& answer) const noexcept {
    return Foundation::hashFields(answer);
}
