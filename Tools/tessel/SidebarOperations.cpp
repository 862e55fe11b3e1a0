#include "ChatModel/ServerJSON.h"
#include "ChatModel/Sidebar.h"
#include "tessel/Model.h"
#include "tessel/ViewInput.h"

using ChatModel::SidebarChannel;
using ChatModel::SidebarSection;
using Foundation::JSONReader;
using Foundation::JSONWriter;

namespace tessel {

namespace {

void write(JSONWriter& writer, const SidebarChannel& channel) {
    writer.beginObject();
    writer.key("channelID").value(channel.channel.id);
    writer.key("title").value(channel.title);
    writer.key("isUnread").value(channel.isUnread);
    writer.key("mentionCount").value(channel.mentionCount);
    writer.key("isFavorite").value(channel.isFavorite);
    writer.key("isClosed").value(channel.isClosed);
    writer.endObject();
}

void write(JSONWriter& writer, const SidebarSection& section, const std::optional<std::string>& selectedChannelID) {
    writer.beginObject();
    writer.key("category").raw(ChatModel::ServerJSON<ChatModel::SidebarCategory>::encode(section.category));
    writer.key("channels").beginArray();
    for (const auto& channel : section.channels)
        write(writer, channel);
    writer.endArray();
    writer.key("visible").beginArray();
    for (const auto* channel : section.visibleChannels(selectedChannelID))
        writer.value(channel->channel.id);
    writer.endArray();
    writer.endObject();
}

void sidebar(JSONReader& reader, JSONWriter& writer) {
    const SidebarView view = readSidebar(reader);
    writer.beginArray();
    for (const auto& section : view.sections)
        write(writer, section, view.selectedChannelID);
    writer.endArray();
}

}  // namespace

const Operations& sidebarOperations() {
    static const Operations operations = {{"sidebar", sidebar}};
    return operations;
}

}  // namespace tessel
