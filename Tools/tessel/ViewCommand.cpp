#include "tessel/Commands.h"

#include <functional>
#include <memory>
#include <new>
#include <string>
#include <system_error>
#include <utility>

#include "Foundation/Files.h"
#include "Foundation/StandardStreams.h"
#include "tessel/Drawing.h"
#include "tessel/ExitStatus.h"
#include "tessel/SidebarDrawing.h"
#include "tessel/TimelineDrawing.h"
#include "tessel/ViewInput.h"

namespace tessel {

using Foundation::JSONReader;

namespace {

struct Arguments {
    std::string bundle;
    std::string file = "-";
};

using Draw = std::function<std::string(JSONReader&, const Screen&)>;

std::string timeline(JSONReader& reader, const Screen& screen) {
    auto input = readTimeline(reader);
    const Time::Calendar calendar = input.calendar;
    return drawTimeline(ChatModel::Timeline::items(std::move(input)), calendar, screen);
}

std::string sidebar(JSONReader& reader, const Screen& screen) {
    const SidebarView view = readSidebar(reader);
    return drawSidebar(view.sections, view.selectedChannelID, screen);
}

std::string contents(const std::string& file) {
    if (file != "-") return std::string(Foundation::textView(Foundation::Files::read(file)));
    std::string text;
    Foundation::StandardInput input;
    while (const auto line = input.next())
        text.append(line->text).append(line->isEnded ? "\n" : "");
    return text;
}

int refuse(const std::string& file, const std::string& reason) {
    Foundation::reportError(file + ": " + reason);
    return notFoundOrBadInput;
}

int view(const std::string& file, const Draw& draw) {
    std::string drawing;
    try {
        Foundation::parseJSON(contents(file),
                              [&](JSONReader& reader) { drawing = draw(reader, Screen::ofStandardOutput()); });
    } catch (const Foundation::CocoaError& error) {
        return refuse(file, std::generic_category().message(error.posixCode()));
    } catch (const std::system_error& error) {
        return refuse(file, error.code().message());
    } catch (const Foundation::DecodingError& error) {
        return refuse(file, error.what());
    } catch (const std::bad_alloc&) {
        return refuse(file, "too large for the memory there is");
    }
    Foundation::writeToStandardOutput(drawing);
    return done;
}

}  // namespace

void addViewCommand(CLI::App& app, int& status) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* views = app.add_subcommand("view", "Draws a view of the client for a person")->require_subcommand(1);
    views->footer(
        "The input is one JSON value, the same that `tessel model` takes for the operation of this name.\n"
        "It is drawn as wide as the terminal, 40 to 120 columns, else as $COLUMNS says; in colour on a\n"
        "terminal alone, unless NO_COLOR is set or TERM is \"dumb\".");
    addBundleOption(*views, arguments->bundle);  // taken for likeness; no view needs it
    const auto command = [&](const char* name, const char* description, const Draw& draw) {
        CLI::App* added = views->add_subcommand(name, description);
        addBundleOption(*added, arguments->bundle);
        added->add_option("FILE", arguments->file,
                          "The file with the input; standard input for - and where there is none");
        added->callback([arguments, &status, draw] { status = view(arguments->file, draw); });
    };
    command("timeline", "Draws a channel's messages, with days and what is new", timeline);
    command("sidebar", "Draws the list of channels in their categories", sidebar);
}

}  // namespace tessel
