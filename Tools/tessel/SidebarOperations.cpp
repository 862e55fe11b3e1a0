#include "ChatModel/ServerJSON.h"
#include "ChatModel/Sidebar.h"
#include "Foundation/JSONCoding.h"
#include "Text/Collation.h"
#include "tessel/FromServer.h"
#include "tessel/Model.h"

using ChatModel::SidebarChannel;
using ChatModel::SidebarSection;
using ChatModel::Sidebar::Input;
using Foundation::defaulted;
using Foundation::JSONReader;
using Foundation::JSONWriter;
using Foundation::optional;
using tessel::FromServer;

namespace {

/// What is asked beside the sidebar's input, in the same object.
struct Question {
    std::string locale = "en";
    std::optional<std::string> selectedChannelID;
};

}  // namespace

template <>
constexpr auto Foundation::fields<Input> = std::tuple{
    defaulted("currentUserID", &Input::currentUserID),         defaulted("collapsedThreads", &Input::collapsedThreads),
    defaulted<FromServer>("categories", &Input::categories),   defaulted<FromServer>("channels", &Input::channels),
    defaulted<FromServer>("members", &Input::members),         defaulted("peerNames", &Input::peerNames),
    defaulted<FromServer>("preferences", &Input::preferences),
};

template <>
constexpr auto Foundation::fields<Question> = std::tuple{
    defaulted("locale", &Question::locale),
    optional("selectedChannelID", &Question::selectedChannelID),
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

std::vector<SidebarSection> sectionsOf(Input input, const std::string& locale) {
    try {
        return ChatModel::Sidebar::sections(std::move(input), locale);
    } catch (const Text::UnknownLocale&) {
        refuse("locale", "expected the tag of a language that is known (BCP 47)");
    }
}

void sidebar(JSONReader& reader, JSONWriter& writer) {
    Input input;
    Question question;
    Foundation::decode(reader, input);
    Foundation::decode(reader, question);
    writer.beginArray();
    for (const auto& section : sectionsOf(std::move(input), question.locale))
        write(writer, section, question.selectedChannelID);
    writer.endArray();
}

}  // namespace

const Operations& sidebarOperations() {
    static const Operations operations = {{"sidebar", sidebar}};
    return operations;
}

}  // namespace tessel
