#include "Text/Characters.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <memory>

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/uscript.h>
#include <unicode/utf8.h>

#include "Text/ICU.h"

namespace Text {

namespace {

using icu::UnicodeString;

/// What ICU knows of a scalar that matters here, at the price of one look-up: its own answers take several calls a
/// scalar, and its iterator over characters has to be made for each text.
struct Scalar {
    /// Indic_Conjunct_Break: consonants that a linker joins make one character, whatever extends them.
    enum class Conjunct : std::uint8_t { none, consonant, linker, extend };

    /// Extended_Pictographic, which emoji are made of; the scalars that have it have no break property beside.
    static constexpr std::uint8_t pictographic = U_GCB_COUNT;

    char32_t folded = 0;              ///< the first scalar of the form without case; 0 for this one
    std::uint8_t kind = U_GCB_OTHER;  ///< Grapheme_Cluster_Break (UAX #29, table 2), or `pictographic`
    Conjunct conjunct = Conjunct::none;
    std::uint8_t combiningClass = 0;

    /// How long its forms are, the one with case and the one without, where either has several scalars or the former
    /// is another one; else 0. They stand one behind the other in the page.
    std::uint8_t decomposedLength = 0;
    std::uint8_t foldedLength = 0;
    std::uint16_t formsAt = 0;

    friend bool operator==(const Scalar&, const Scalar&) = default;
};

/// Scalars that follow each other. Pages are made when they are first needed, and kept.
struct Page {
    static constexpr std::size_t size = 128;

    std::array<Scalar, size> scalars;
    std::u32string forms;
};

std::array<std::atomic<const Page*>, 0x110000 / Page::size> pages;

std::u32string scalarsOf(const UnicodeString& text) {
    std::u32string scalars;
    for (std::int32_t i = 0; i < text.length(); i = text.moveIndex32(i, 1))
        scalars += static_cast<char32_t>(text.char32At(i));
    return scalars;
}

/// The property as Unicode 15.1 derives it; ICU gives it from version 76 on.
Scalar::Conjunct conjunctOf(UChar32 code, int kind) {
    using enum Scalar::Conjunct;
    UErrorCode error = U_ZERO_ERROR;
    switch (uscript_getScript(code, &error)) {
        case USCRIPT_BENGALI:
        case USCRIPT_DEVANAGARI:
        case USCRIPT_GUJARATI:
        case USCRIPT_MALAYALAM:
        case USCRIPT_ORIYA:
        case USCRIPT_TELUGU:
            switch (u_getIntPropertyValue(code, UCHAR_INDIC_SYLLABIC_CATEGORY)) {
                case U_INSC_VIRAMA:
                    return linker;
                case U_INSC_CONSONANT:
                    return consonant;
                default:
                    break;
            }
            break;
        default:
            break;
    }
    const bool extends = kind == U_GCB_ZWJ || (kind == U_GCB_EXTEND && u_getCombiningClass(code) != 0);
    return extends ? extend : none;
}

Scalar makeScalar(UChar32 code, std::u32string& forms) {
    UErrorCode error = U_ZERO_ERROR;
    const icu::Normalizer2* const nfd = icu::Normalizer2::getNFDInstance(error);
    check(error);
    const UnicodeString decomposed = nfd->normalize(UnicodeString(code), error);
    UnicodeString folded = decomposed;
    folded = nfd->normalize(folded.foldCase(U_FOLD_CASE_DEFAULT), error);
    check(error);

    const auto self = static_cast<char32_t>(code);
    const std::u32string decomposedForm = scalarsOf(decomposed);
    const std::u32string foldedForm = scalarsOf(folded);
    const int kind = u_hasBinaryProperty(code, UCHAR_EXTENDED_PICTOGRAPHIC)
                         ? Scalar::pictographic
                         : u_getIntPropertyValue(code, UCHAR_GRAPHEME_CLUSTER_BREAK);
    Scalar scalar{.folded = foldedForm.front() == self ? 0 : foldedForm.front(),
                  .kind = static_cast<std::uint8_t>(kind),
                  .conjunct = conjunctOf(code, kind),
                  .combiningClass = u_getCombiningClass(code)};
    if (decomposedForm != std::u32string_view(&self, 1) || foldedForm.size() > 1) {
        scalar.decomposedLength = static_cast<std::uint8_t>(decomposedForm.size());
        scalar.foldedLength = static_cast<std::uint8_t>(foldedForm.size());
        scalar.formsAt = static_cast<std::uint16_t>(forms.size());
        forms += decomposedForm + foldedForm;
    }
    return scalar;
}

[[gnu::cold, gnu::noinline]] const Page& makePage(std::size_t number) {
    static const Page plain{};  // serves for all pages of ideographs, and for those without a character
    auto made = std::make_unique<Page>();
    for (std::size_t i = 0; i < Page::size; ++i)
        made->scalars[i] = makeScalar(static_cast<UChar32>(number * Page::size + i), made->forms);
    const Page* page = made->scalars == plain.scalars ? &plain : made.get();
    const Page* other = nullptr;
    // Where another thread has made it meanwhile, that one stays.
    if (!pages[number].compare_exchange_strong(other, page, std::memory_order_acq_rel)) return *other;
    if (page != &plain) made.release();  // NOLINT(bugprone-unused-return-value): it serves until the process ends
    return *page;
}

inline const Page& pageOf(char32_t scalar) {
    const std::size_t number = scalar / Page::size;
    const Page* const page = pages[number].load(std::memory_order_acquire);
    return page != nullptr ? *page : makePage(number);
}

inline const Scalar& lookUp(char32_t scalar) {
    return pageOf(scalar).scalars[scalar % Page::size];
}

/// Appends a form's scalars, combining marks in their canonical order (Unicode 15, definition D109).
void append(std::u32string& text, std::u32string_view form) {
    for (const char32_t scalar : form) {
        const std::uint8_t order = lookUp(scalar).combiningClass;
        std::size_t place = text.size();
        while (order != 0 && place > 0 && lookUp(text[place - 1]).combiningClass > order)
            --place;
        text.insert(place, 1, scalar);
    }
}

/// One of a scalar's forms; valid as long as the scalar is where it is.
inline std::u32string_view formOf(const char32_t& scalar, const Page& page, Case sensitivity) {
    const Scalar& entry = page.scalars[scalar % Page::size];
    const bool isFolded = sensitivity == Case::insensitive;
    if (entry.decomposedLength == 0) return {isFolded && entry.folded != 0 ? &entry.folded : &scalar, 1};
    const std::u32string_view forms = page.forms;
    return isFolded ? forms.substr(entry.formsAt + entry.decomposedLength, entry.foldedLength)
                    : forms.substr(entry.formsAt, entry.decomposedLength);
}

std::u32string_view formOf(const char32_t& scalar, Case sensitivity) {
    return formOf(scalar, pageOf(scalar), sensitivity);
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"  // in ICU's macro

/// Reads the scalar at the offset and moves behind it; U+FFFD for ill-formed bytes.
inline char32_t next(std::string_view text, std::size_t& offset) {
    UChar32 scalar = 0;
    U8_NEXT_OR_FFFD(text.data(), offset, text.size(), scalar);
    return static_cast<char32_t>(scalar);
}

#pragma GCC diagnostic pop

std::size_t scalarStartBefore(std::string_view text, std::size_t offset) {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    auto start = static_cast<std::int32_t>(std::min<std::size_t>(offset, 4));
    const std::size_t skipped = offset - static_cast<std::size_t>(start);
    U8_BACK_1(bytes + skipped, 0, start);
    return skipped + static_cast<std::size_t>(start);
}

/// Whether two scalars that follow each other are of one character, as far as these two alone tell.
enum class Junction { no, yes, dependsOnFormer };

inline Junction junction(const Scalar& before, const Scalar& behind) {
    const auto endsLine = [](std::uint8_t one) { return one == U_GCB_CONTROL || one == U_GCB_CR || one == U_GCB_LF; };
    const auto joinedIf = [](bool condition) { return condition ? Junction::yes : Junction::no; };
    const std::uint8_t kind = behind.kind;
    using enum Scalar::Conjunct;
    // Most are neither.
    if (kind == U_GCB_OTHER && behind.conjunct != consonant && before.kind != U_GCB_PREPEND) return Junction::no;
    if (endsLine(before.kind) || endsLine(kind)) return joinedIf(before.kind == U_GCB_CR && kind == U_GCB_LF);
    if (kind == U_GCB_EXTEND || kind == U_GCB_ZWJ || kind == U_GCB_SPACING_MARK) return Junction::yes;
    if (behind.conjunct == consonant && (before.conjunct == linker || before.conjunct == extend))
        return Junction::dependsOnFormer;
    switch (before.kind) {
        case U_GCB_PREPEND:
            return Junction::yes;
        case U_GCB_L:
            return joinedIf(kind == U_GCB_L || kind == U_GCB_V || kind == U_GCB_LV || kind == U_GCB_LVT);
        case U_GCB_LV:
        case U_GCB_V:
            return joinedIf(kind == U_GCB_V || kind == U_GCB_T);
        case U_GCB_LVT:
        case U_GCB_T:
            return joinedIf(kind == U_GCB_T);
        case U_GCB_REGIONAL_INDICATOR:
            return kind == U_GCB_REGIONAL_INDICATOR ? Junction::dependsOnFormer : Junction::no;
        case U_GCB_ZWJ:
            return kind == Scalar::pictographic ? Junction::dependsOnFormer : Junction::no;
        default:
            return Junction::no;
    }
}

/// Goes over the scalars of one character.
class Walk {
public:
    explicit Walk(const Scalar& first) { take(first); }

    /// Goes on to the next scalar, where it belongs to the same character.
    bool joins(const Scalar& scalar) {
        const Junction joined = junction(*last_, scalar);
        if (joined == Junction::no || (joined == Junction::dependsOnFormer && !formerJoin(scalar))) return false;
        take(scalar);
        return true;
    }

private:
    /// Flags are pairs; joined emoji have their modifiers in front of the joiner alone; one linker joins consonants.
    bool formerJoin(const Scalar& scalar) const {
        if (scalar.kind == U_GCB_REGIONAL_INDICATOR) return !isPair_;
        return scalar.kind == Scalar::pictographic ? isEmoji_ : isLinked_;
    }

    void take(const Scalar& scalar) {
        using enum Scalar::Conjunct;
        const bool isBehindJoiner = last_ != nullptr && last_->kind == U_GCB_ZWJ;
        isPair_ = last_ != nullptr && last_->kind == U_GCB_REGIONAL_INDICATOR;
        isEmoji_ = scalar.kind == Scalar::pictographic ||
                   (isEmoji_ && !isBehindJoiner && (scalar.kind == U_GCB_EXTEND || scalar.kind == U_GCB_ZWJ));
        isLinked_ = isConsonant_ && (scalar.conjunct == linker || (isLinked_ && scalar.conjunct == extend));
        isConsonant_ = scalar.conjunct == consonant || (isConsonant_ && scalar.conjunct != none);
        last_ = &scalar;
    }

    const Scalar* last_ = nullptr;
    bool isPair_ = false;
    bool isEmoji_ = false;
    bool isLinked_ = false;     ///< whether a linker follows the last consonant
    bool isConsonant_ = false;  ///< whether a consonant has been met, and nothing since that ends its conjunct
};

}  // namespace

std::u32string comparable(std::string_view text, Case sensitivity) {
    if (text.empty()) return {};
    std::size_t offset = 0;
    const char32_t scalar = next(text, offset);
    if (offset >= text.size()) return std::u32string(formOf(scalar, sensitivity));
    std::u32string decomposed(formOf(scalar, Case::sensitive));
    while (offset < text.size())
        append(decomposed, formOf(next(text, offset), Case::sensitive));
    if (sensitivity == Case::sensitive) return decomposed;
    // Not in one go: what is a mark may become a letter, and marks be put in their order before it does.
    std::u32string folded;
    for (const char32_t character : decomposed)
        append(folded, formOf(character, Case::insensitive));
    return folded;
}

namespace {

/// The first scalar of the form of a character that starts with marks, of which their order may bring another one to
/// the front.
char32_t firstOfMarks(std::string_view text, Case sensitivity) {
    char32_t first = 0;
    unsigned lowest = 256;
    for (std::size_t offset = 0; offset < text.size() && lowest != 0;) {
        const char32_t scalar = next(text, offset);
        for (const char32_t mark : formOf(scalar, Case::sensitive)) {
            const unsigned order = lookUp(mark).combiningClass;
            if (order != 0 && order < lowest) first = mark;
            lowest = std::min(lowest, order);
        }
    }
    return formOf(first, sensitivity).front();
}

}  // namespace

Character characterBeyondASCII(std::string_view text, std::size_t start, Case sensitivity) {
    std::size_t end = start;
    const char32_t scalar = next(text, end);
    const Page& page = pageOf(scalar);
    const Scalar& entry = page.scalars[scalar % Page::size];
    const std::u32string_view form = formOf(scalar, page, sensitivity);
    Character character{end, form.front(), form.size() == 1};
    if (end == text.size()) return character;
    const Scalar* following = &lookUp(next(text, end));
    if (junction(entry, *following) == Junction::no) return character;
    for (Walk walk(entry); walk.joins(*following); following = &lookUp(next(text, end))) {
        character.end = end;
        character.isWhole = false;
        if (end == text.size()) break;
    }
    if (entry.combiningClass != 0 && !character.isWhole)
        character.first = firstOfMarks(text.substr(start, character.end - start), sensitivity);
    return character;
}

std::size_t characterCount(std::string_view text) {
    std::size_t count = 0;
    for (std::size_t offset = 0; offset < text.size(); offset = characterAt(text, offset, Case::sensitive).end)
        ++count;
    return count;
}

bool CharacterBoundaries::containBeyondASCII(std::size_t offset) {
    if (offset < start_) start_ = end_ = 0;
    if (offset < end_) return offset == start_;
    const auto scalarAt = [&](std::size_t at) -> const Scalar& { return lookUp(next(text_, at)); };
    // Back to where it is certain, but not over what has been walked over, and forward again.
    std::size_t certain = offset;
    while (certain > end_) {
        const std::size_t before = scalarStartBefore(text_, certain);
        const Junction joined = junction(scalarAt(before), scalarAt(certain));
        if (joined == Junction::no) break;
        if (joined == Junction::yes && certain == offset) return false;
        certain = before;
    }
    start_ = end_ = certain;
    while (end_ < offset) {
        start_ = end_;
        end_ = characterAt(text_, start_, Case::sensitive).end;
    }
    return end_ == offset;
}

}  // namespace Text
