#include "Text/Columns.h"

#include <algorithm>
#include <cstdint>

#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include "Text/Characters.h"

namespace Text {

namespace {

constexpr std::size_t most = 2;
constexpr UChar32 softHyphen = 0xAD;
constexpr UChar32 emojiSelector = 0xFE0F;

bool isWide(UChar32 scalar) {
    const int width = u_getIntPropertyValue(scalar, UCHAR_EAST_ASIAN_WIDTH);
    return width == U_EA_WIDE || width == U_EA_FULLWIDTH;
}

bool hasNoWidth(UChar32 scalar) {
    switch (u_charType(scalar)) {
        case U_NON_SPACING_MARK:
        case U_ENCLOSING_MARK:
        case U_CONTROL_CHAR:
        case U_LINE_SEPARATOR:
        case U_PARAGRAPH_SEPARATOR:
            return true;
        case U_FORMAT_CHAR:
            // Terminals draw these two.
            return scalar != softHyphen && u_hasBinaryProperty(scalar, UCHAR_PREPENDED_CONCATENATION_MARK) == 0;
        default:
            return false;
    }
}

std::size_t columnsOfScalar(UChar32 scalar) {
    if (hasNoWidth(scalar)) return 0;
    return isWide(scalar) ? 2 : 1;
}

std::size_t columnsOfCharacter(std::string_view character) {
    if (character.size() == 1 && isASCII(character.front())) return u_isprint(character.front()) ? 1 : 0;
    const auto scalars = icu::UnicodeString::fromUTF8({character.data(), static_cast<std::int32_t>(character.size())});
    std::size_t columns = 0;
    UChar32 before = 0;
    for (std::int32_t at = 0; at < scalars.length() && columns < most; at = scalars.moveIndex32(at, 1)) {
        const UChar32 scalar = scalars.char32At(at);
        const bool makesEmoji = scalar == emojiSelector && u_hasBinaryProperty(before, UCHAR_EMOJI) != 0;
        columns = makesEmoji ? most : columns + columnsOfScalar(scalar);
        before = scalar;
    }
    return std::min(columns, most);
}

}  // namespace

std::size_t columnCount(std::string_view text) {
    std::size_t columns = 0;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = characterAt(text, start, Case::sensitive).end;
        columns += columnsOfCharacter(text.substr(start, end - start));
        start = end;
    }
    return columns;
}

}  // namespace Text
