#include "Text/WhiteSpace.h"

#include <algorithm>
#include <cstddef>

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include "Foundation/UTF8.h"

namespace Text {

namespace {

enum class LineEnds { trimmed, kept };

/// The bytes of the white space character that the text starts with; 0 where it starts with none.
std::size_t whiteSpaceAtStart(std::string_view text, LineEnds lineEnds) {
    if (text.empty()) return 0;
    const char first = text.front();
    const char lastControl = lineEnds == LineEnds::trimmed ? '\r' : '\t';
    if (U8_IS_SINGLE(first)) return first == ' ' || (first >= '\t' && first <= lastControl) ? 1 : 0;
    const std::string_view bytes = text.substr(0, 1 + U8_COUNT_TRAIL_BYTES(first));
    if (!Foundation::isValidUTF8(bytes)) return 0;
    std::size_t next = 0;
    UChar32 character = 0;
    U8_NEXT_UNSAFE(bytes.data(), next, character);
    return (lineEnds == LineEnds::trimmed ? u_isUWhiteSpace(character) : u_isblank(character)) ? next : 0;
}

/// The same of its end.
std::size_t whiteSpaceAtEnd(std::string_view text, LineEnds lineEnds) {
    const std::size_t most = std::min<std::size_t>(text.size(), U8_MAX_LENGTH);
    std::size_t length = 1;
    while (length < most && U8_IS_TRAIL(text[text.size() - length]))
        ++length;
    // One that is shorter has ill-formed bytes behind it.
    const bool isWhole = length <= most && whiteSpaceAtStart(text.substr(text.size() - length), lineEnds) == length;
    return isWhole ? length : 0;
}

std::string_view trimmed(std::string_view text, LineEnds lineEnds) {
    while (const std::size_t length = whiteSpaceAtStart(text, lineEnds))
        text.remove_prefix(length);
    while (const std::size_t length = whiteSpaceAtEnd(text, lineEnds))
        text.remove_suffix(length);
    return text;
}

}  // namespace

std::string_view trimmed(std::string_view text) {
    return trimmed(text, LineEnds::trimmed);
}

std::string_view trimmedOfBlanks(std::string_view text) {
    return trimmed(text, LineEnds::kept);
}

}  // namespace Text
