#include "Support.h"

#include <memory>
#include <vector>

#include <unicode/brkiter.h>
#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

#include "Foundation/UTF8.h"
#include "Text/CanonicalEquivalence.h"
#include "Text/Characters.h"
#include "Text/Columns.h"
#include "UnicodeText.h"

using Fuzzing::check;

namespace {

UErrorCode error = U_ZERO_ERROR;

/// Where ICU says that the characters of a text end.
std::vector<std::size_t> ends(const std::string& text) {
    static const std::unique_ptr<icu::BreakIterator> iterator(icu::BreakIterator::createCharacterInstance("", error));
    const auto whole = icu::UnicodeString::fromUTF8(text);
    iterator->setText(whole);
    std::vector<std::size_t> found;
    std::string character;
    for (std::int32_t start = 0, end; (end = iterator->next()) != icu::BreakIterator::DONE; start = end) {
        character.clear();
        whole.tempSubStringBetween(start, end).toUTF8String(character);
        found.push_back((found.empty() ? 0 : found.back()) + character.size());
    }
    return found;
}

icu::UnicodeString comparable(const std::string& text, Text::Case sensitivity) {
    const auto* const normalizer = icu::Normalizer2::getNFDInstance(error);
    auto form = normalizer->normalize(icu::UnicodeString::fromUTF8(text), error);
    return sensitivity == Text::Case::sensitive ? form : form.foldCase();
}

}  // namespace

/// A text's characters, as ICU knows them.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string raw = Fuzzing::unicodeText(Fuzzing::textView(data, size));
    check(Text::columnCount(raw) <= 2 * Text::characterCount(raw), "a character takes two columns at most");
    const std::string text = Foundation::repairedUTF8(raw);
    const auto expected = ends(text);
    check(Text::characterCount(raw) == expected.size(), "as many characters as ICU counts", text);

    std::size_t start = 0, columns = 0;
    Text::CharacterBoundaries boundaries(text);
    for (const std::size_t end : expected) {
        check(Text::characterAt(text, start, Text::Case::sensitive).end == end, "a character ends", text);
        for (std::size_t at = start + 1; at <= end; ++at)
            if (at == text.size() || (text[at] & 0xC0) != 0x80)
                check(boundaries.contain(at) == (at == end), "characters meet where ICU says", text);
        columns += Text::columnCount(text.substr(start, end - start));
        start = end;
    }
    check(Text::columnCount(text) == columns, "a text takes the columns of its characters", text);
    for (const auto sensitivity : {Text::Case::sensitive, Text::Case::insensitive}) {
        const auto form = Text::comparable(text, sensitivity);
        const auto same = icu::UnicodeString::fromUTF32(reinterpret_cast<const UChar32*>(form.data()),
                                                        static_cast<std::int32_t>(form.size()));
        check(same == comparable(text, sensitivity), "the comparable form is that of Unicode", text);
    }
    return 0;
}
