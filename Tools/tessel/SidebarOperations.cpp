#include "ChatModel/ServerJSON.h"
#include "ChatModel/Sidebar.h"
#include "Foundation/JSONCoding.h"
#include "Text/Collation.h"
#include "tessel/FromServer.h"
#include "tessel/Model.h"

using ChatModel::SidebarChannel;
using ChatModel::SidebarSection;
using Foundation::defaulted;
using Foundation::JSONReader;
using Foundation::JSONWriter;
using Foundation::optional;
using tessel::FromServer;

namespace {

/// What the operation reads: the fields of the sidebar's input, and what is asked beside.
struct Input {
    std::string currentUserID;
    bool collapsedThreads = false;
    std::vector<ChatModel::SidebarCategory> categories;
    std::vector<ChatModel::Channel> channels;
    std::vector<ChatModel::ChannelMember> members;
    std::map<std::string, std::string, std::less<>> peerNames;
    std::vector<ChatModel::Preference> preferences;
    std::string locale = "en";
    std::optional<std::string> selectedChannelID;
};

}  // namespace

template <>
constexpr auto Foundation::fields<Input> = std::tuple{
    defaulted("currentUserID", &Input::currentUserID),         defaulted("collapsedThreads", &Input::collapsedThreads),
    defaulted<FromServer>("categories", &Input::categories),   defaulted<FromServer>("channels", &Input::channels),
    defaulted<FromServer>("members", &Input::members),         defaulted("peerNames", &Input::peerNames),
    defaulted<FromServer>("preferences", &Input::preferences), defaulted("locale", &Input::locale),
    optional("selectedChannelID", &Input::selectedChannelID),
};

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

std::vector<SidebarSection> sectionsOf(Input& input) {
    try {
        return ChatModel::Sidebar::sections({.currentUserID = std::move(input.currentUserID),
                                             .collapsedThreads = input.collapsedThreads,
                                             .categories = std::move(input.categories),
                                             .channels = std::move(input.channels),
                                             .members = std::move(input.members),
                                             .peerNames = std::move(input.peerNames),
                                             .preferences = std::move(input.preferences)},
                                            input.locale);
    } catch (const Text::UnknownLocale&) {
        refuse("locale", "expected the tag of a language that is known (BCP 47)");
    }
}

void sidebar(JSONReader& reader, JSONWriter& writer) {
    Input input;
    Foundation::decode(reader, input);
    writer.beginArray();
    for (const auto& section : sectionsOf(input))
        write(writer, section, input.selectedChannelID);
    writer.endArray();
}

}  // namespace

const Operations& sidebarOperations() {
    static const Operations operations = {{"sidebar", sidebar}};
    return operations;
}

}  // namespace tessel
