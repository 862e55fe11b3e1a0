#include "Support.h"

#include "ChatModel/Records.h"
#include "Foundation/UTF8.h"
#include "Text/Columns.h"
#include "UnicodeText.h"
#include "tessel/SidebarDrawing.h"
#include "tessel/TimelineDrawing.h"

using namespace ChatModel;
using Fuzzing::check;

namespace {

void checkDrawing(std::string_view drawing, const tessel::Screen& screen) {
    check(Foundation::isValidUTF8(drawing), "a drawing is UTF-8", drawing);
    check(drawing.empty() || drawing.ends_with('\n'), "lines are ended", drawing);
    while (!drawing.empty()) {
        const std::size_t end = drawing.find('\n');
        const std::string line(drawing.substr(0, end));
        drawing.remove_prefix(end + 1);
        check(Foundation::printable(line) == line, "nothing controls a terminal", line);
        check(Text::columnCount(line) <= screen.columns, "no line is wider than the screen", line);
    }
}

}  // namespace

/// What a terminal is given of hostile texts.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider provider(data, size);
    const auto text = [&] { return Fuzzing::unicodeText(provider.ConsumeRandomLengthString(100)); };
    const tessel::Screen screen{provider.ConsumeIntegralInRange<std::size_t>(tessel::Screen::fewestColumns, 90), false};
    if (provider.ConsumeBool()) {
        const auto input = Fuzzing::timelineInput(provider, text);
        checkDrawing(tessel::drawTimeline(Timeline::items(input), input.calendar, screen), screen);
    } else {
        checkDrawing(tessel::drawSidebar(Sidebar::sections(Fuzzing::sidebarInput(provider, text), "en"), "a", screen),
                     screen);
    }
    return 0;
}
