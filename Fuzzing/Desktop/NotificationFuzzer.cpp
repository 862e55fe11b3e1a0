#include "Support.h"

#include <string>

#include "Desktop/Notification.h"
#include "Foundation/UTF8.h"
#include "Text/Characters.h"
#include "UnicodeText.h"

using Fuzzing::check;

namespace {

bool hasControls(std::string_view text, bool mayHaveLines) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (mayHaveLines && byte == '\n') continue;
        if (byte < 0x20 || byte == 0x7F) return true;
        if (byte == 0xC2 && static_cast<unsigned char>(text[i + 1]) < 0xA0) return true;  // U+0080 to U+009F
    }
    return false;
}

/// What a reader of the markup shows. Aborts where there is a tag, or an entity of unknown name.
std::string shown(std::string_view markup) {
    std::string text;
    for (std::size_t i = 0; i < markup.size();) {
        check(markup[i] != '<' && markup[i] != '>' && markup[i] != '"' && markup[i] != '\'', "nothing is markup",
              markup);
        if (markup[i] != '&') {
            text += markup[i++];
            continue;
        }
        constexpr std::pair<std::string_view, char> entities[] = {
            {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&#39;", '\''}};
        const std::size_t before = i;
        for (const auto& [entity, character] : entities)
            if (before == i && markup.substr(i).starts_with(entity)) text += character, i += entity.size();
        check(i != before, "entities are whole", markup);
    }
    return text;
}

}  // namespace

/// A push's text, as a desktop's notification shows it.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = Fuzzing::unicodeText(Fuzzing::textView(data, size));
    const std::string line = Desktop::shownOnOneLine(text), body = Desktop::shownAsBody(text, false, 50);
    for (const auto& one : {line, body})
        check(Foundation::isValidUTF8(one) && !hasControls(one, one == body), "what is shown is text", one);
    check(shown(Desktop::shownAsBody(text, true, 50)) == body, "markup shows the text", body);
    check(Text::characterCount(body) <= 50 * 2 + 1, "what is too long is cut", body);
    return 0;
}
