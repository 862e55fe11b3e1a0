#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ChatModel/Sidebar.h"
#include "ChatModel/Timeline.h"
#include "Foundation/JSONReader.h"

namespace tessel {

/// Reads what a view of messages is made of: the input's members by name, entities as the server sends them, the
/// calendar as {"timeZone":"Europe/Berlin"}. Throws `Foundation::DecodingError`, as below.
ChatModel::Timeline::Input readTimeline(Foundation::JSONReader& reader);

/// A sidebar that has been assembled.
struct SidebarView {
    std::vector<ChatModel::SidebarSection> sections;
    std::optional<std::string> selectedChannelID;
};

/// Reads what a sidebar is made of, beside it "locale" (BCP 47, English where it is missing) and "selectedChannelID",
/// and assembles it.
SidebarView readSidebar(Foundation::JSONReader& reader);

}  // namespace tessel
