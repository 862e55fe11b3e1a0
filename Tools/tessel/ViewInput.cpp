#include "tessel/ViewInput.h"

#include <string_view>
#include <tuple>
#include <utility>

#include "ChatModel/IdentifierCoding.h"
#include "ChatModel/ServerJSON.h"
#include "Foundation/JSONCoding.h"
#include "Text/Collation.h"
#include "tessel/FromServer.h"
#include "tessel/Model.h"

using Foundation::defaulted;
using Foundation::JSONReader;
using Foundation::optional;
using tessel::FromServer;
using SidebarInput = ChatModel::Sidebar::Input;
using TimelineInput = ChatModel::Timeline::Input;

namespace {

/// A calendar as {"timeZone":"Europe/Berlin"}.
struct InTimeZone {
    static void decode(JSONReader& reader, Time::Calendar& calendar) {
        reader.object([&](std::string_view key, JSONReader& value) {
            if (key != "timeZone") return;
            calendar = Time::Calendar();
            if (value.null()) return;
            std::string name;
            value.read(name);
            const auto named = Time::Calendar::in(name);
            if (!named) value.failExpecting("the name of a time zone");
            calendar = *named;
        });
    }
};

/// What is asked beside the sidebar's input, in the same object.
struct Question {
    std::string locale = "en";
    std::optional<std::string> selectedChannelID;
};

}  // namespace

template <>
constexpr auto Foundation::fields<TimelineInput> = std::tuple{
    defaulted<FromServer>("posts", &TimelineInput::posts),
    defaulted<FromServer>("reactions", &TimelineInput::reactions),
    defaulted("currentUserID", &TimelineInput::currentUserID),
    optional("lastViewedAt", &TimelineInput::lastViewedAt),
    defaulted("failedPostIDs", &TimelineInput::failedPostIDs),
    defaulted("showsThreadFooters", &TimelineInput::showsThreadFooters),
    defaulted<InTimeZone>("calendar", &TimelineInput::calendar),
};

template <>
constexpr auto Foundation::fields<SidebarInput> = std::tuple{
    defaulted("currentUserID", &SidebarInput::currentUserID),
    defaulted("collapsedThreads", &SidebarInput::collapsedThreads),
    defaulted<FromServer>("categories", &SidebarInput::categories),
    defaulted<FromServer>("channels", &SidebarInput::channels),
    defaulted<FromServer>("members", &SidebarInput::members),
    defaulted("peerNames", &SidebarInput::peerNames),
    defaulted<FromServer>("preferences", &SidebarInput::preferences),
};

template <>
constexpr auto Foundation::fields<Question> = std::tuple{
    defaulted("locale", &Question::locale),
    optional("selectedChannelID", &Question::selectedChannelID),
};

namespace tessel {

TimelineInput readTimeline(JSONReader& reader) {
    TimelineInput input;
    Foundation::decode(reader, input);
    return input;
}

SidebarView readSidebar(JSONReader& reader) {
    SidebarInput input;
    Question question;
    Foundation::decode(reader, input);
    Foundation::decode(reader, question);
    try {
        return {ChatModel::Sidebar::sections(std::move(input), question.locale), question.selectedChannelID};
    } catch (const Text::UnknownLocale&) {
        refuse("locale", "expected the tag of a language that is known (BCP 47)");
    }
}

}  // namespace tessel
