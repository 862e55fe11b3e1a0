#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ChatModel/Sidebar.h"
#include "tessel/Drawing.h"

namespace tessel {

/// The sections of a sidebar with their visible channels for a terminal, in lines that are ended. Titles are shown on
/// one line, their control characters spelled out.
std::string drawSidebar(const std::vector<ChatModel::SidebarSection>& sections,
                        std::optional<std::string_view> selectedChannelID, const Screen& screen);

}  // namespace tessel
