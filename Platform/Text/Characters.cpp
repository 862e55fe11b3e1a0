#include "Text/Characters.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <stdexcept>

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/uscript.h>
#include <unicode/utf8.h>

namespace Text {

namespace {

using icu::UnicodeString;

void check(UErrorCode error) {
    if (U_FAILURE(error)) throw std::runtime_error(std::string("ICU failed: ") + u_errorName(error));
}

UnicodeString comparable(UnicodeString text, Case sensitivity) {
    UErrorCode error = U_ZERO_ERROR;
    const icu::Normalizer2* const nfd = icu::Normalizer2::getNFDInstance(error);
    check(error);
    text = nfd->normalize(text, error);
    if (sensitivity == Case::insensitive) text = nfd->normalize(text.foldCase(U_FOLD_CASE_DEFAULT), error);
    check(error);
    return text;
}

/// What ICU knows of a scalar that matters here, at the price of one look-up: its own answers take several calls a
/// scalar, and its iterator over characters has to be made for each text. Pages are made when they are first needed.
struct Scalar {
    /// Indic_Conjunct_Break: consonants that a linker joins make one character, whatever extends them.
    enum class Conjunct : std::uint8_t { none, consonant, linker, extend };

    char32_t first = 0;               ///< of the form without case; 0 for the scalar itself
    std::uint8_t kind = U_GCB_OTHER;  ///< Grapheme_Cluster_Break (UAX #29, table 2), or `pictographic`
    Conjunct conjunct = Conjunct::none;
    bool foldsToSeveral = false;  ///< whether more follow the first
    bool decomposes = false;      ///< whether the form in which case counts is another

    /// Extended_Pictographic, which emoji are made of; the scalars that have it have no break property beside.
    static constexpr std::uint8_t pictographic = U_GCB_COUNT;

    static Scalar make(char32_t scalar);

    friend bool operator==(const Scalar&, const Scalar&) = default;
};

constexpr std::size_t pageSize = 128;
using Page = std::array<Scalar, pageSize>;

constexpr Page plainPage{};  ///< serves for all pages of ideographs, and for those without a character

std::array<std::atomic<const Page*>, 0x110000 / pageSize> pages;

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

Scalar Scalar::make(char32_t scalar) {
    const auto code = static_cast<UChar32>(scalar);
    const UnicodeString text(code);
    const UnicodeString folded = comparable(text, Case::insensitive);
    const auto first = static_cast<char32_t>(folded.char32At(0));
    const int kind = u_hasBinaryProperty(code, UCHAR_EXTENDED_PICTOGRAPHIC)
                         ? pictographic
                         : u_getIntPropertyValue(code, UCHAR_GRAPHEME_CLUSTER_BREAK);
    return {first == scalar ? 0 : first, static_cast<std::uint8_t>(kind), conjunctOf(code, kind),
            folded.hasMoreChar32Than(0, folded.length(), 1) != 0, comparable(text, Case::sensitive) != text};
}

const Page& makePage(std::size_t number) {
    auto made = std::make_unique<Page>();
    for (std::size_t i = 0; i < pageSize; ++i)
        (*made)[i] = Scalar::make(static_cast<char32_t>(number * pageSize + i));
    const Page* page = *made == plainPage ? &plainPage : made.get();
    const Page* other = nullptr;
    // Where another thread has made it meanwhile, that one stays.
    if (!pages[number].compare_exchange_strong(other, page, std::memory_order_acq_rel)) return *other;
    if (page != &plainPage) made.release();  // NOLINT(bugprone-unused-return-value): it serves until the process ends
    return *page;
}

const Scalar& lookUp(char32_t scalar) {
    const std::size_t number = scalar / pageSize;
    const Page* const page = pages[number].load(std::memory_order_acquire);
    return (page != nullptr ? *page : makePage(number))[scalar % pageSize];
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"  // in ICU's macro

/// Reads the scalar at the offset and moves behind it; U+FFFD for ill-formed bytes.
char32_t next(std::string_view text, std::size_t& offset) {
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

Junction junction(const Scalar& before, const Scalar& behind) {
    const auto endsLine = [](std::uint8_t kind) {
        return kind == U_GCB_CONTROL || kind == U_GCB_CR || kind == U_GCB_LF;
    };
    const auto joinedIf = [](bool condition) { return condition ? Junction::yes : Junction::no; };
    const std::uint8_t next = behind.kind;
    if (endsLine(before.kind) || endsLine(next)) return joinedIf(before.kind == U_GCB_CR && next == U_GCB_LF);
    if (next == U_GCB_EXTEND || next == U_GCB_ZWJ || next == U_GCB_SPACING_MARK) return Junction::yes;
    using enum Scalar::Conjunct;
    if (behind.conjunct == consonant && (before.conjunct == linker || before.conjunct == extend))
        return Junction::dependsOnFormer;
    switch (before.kind) {
        case U_GCB_PREPEND:
            return Junction::yes;
        case U_GCB_L:
            return joinedIf(next == U_GCB_L || next == U_GCB_V || next == U_GCB_LV || next == U_GCB_LVT);
        case U_GCB_LV:
        case U_GCB_V:
            return joinedIf(next == U_GCB_V || next == U_GCB_T);
        case U_GCB_LVT:
        case U_GCB_T:
            return joinedIf(next == U_GCB_T);
        case U_GCB_REGIONAL_INDICATOR:
            return next == U_GCB_REGIONAL_INDICATOR ? Junction::dependsOnFormer : Junction::no;
        case U_GCB_ZWJ:
            return next == Scalar::pictographic ? Junction::dependsOnFormer : Junction::no;
        default:
            return Junction::no;
    }
}

/// Goes over the scalars of one character.
class Walk {
public:
    explicit Walk(const Scalar& first) { take(first); }

    /// Goes on to the next scalar, where it belongs to the same character.
    bool joins(const Scalar& next) {
        const Junction joined = junction(*last_, next);
        if (joined == Junction::no || (joined == Junction::dependsOnFormer && !former(next))) return false;
        take(next);
        return true;
    }

private:
    /// Flags are pairs; joined emoji have their modifiers in front of the joiner alone; one linker joins consonants.
    bool former(const Scalar& next) const {
        if (next.kind == U_GCB_REGIONAL_INDICATOR) return !isPair_;
        return next.kind == Scalar::pictographic ? isEmoji_ : isLinked_;
    }

    void take(const Scalar& next) {
        using enum Scalar::Conjunct;
        const bool isBehindJoiner = last_ != nullptr && last_->kind == U_GCB_ZWJ;
        isPair_ = last_ != nullptr && last_->kind == U_GCB_REGIONAL_INDICATOR;
        isEmoji_ = next.kind == Scalar::pictographic ||
                   (isEmoji_ && !isBehindJoiner && (next.kind == U_GCB_EXTEND || next.kind == U_GCB_ZWJ));
        isLinked_ = isConsonant_ && (next.conjunct == linker || (isLinked_ && next.conjunct == extend));
        isConsonant_ = next.conjunct == consonant || (isConsonant_ && next.conjunct != none);
        last_ = &next;
    }

    const Scalar* last_ = nullptr;
    bool isPair_ = false;
    bool isEmoji_ = false;
    bool isLinked_ = false;     ///< whether a linker follows the last consonant
    bool isConsonant_ = false;  ///< whether a consonant has been met, and nothing since that ends its conjunct
};

}  // namespace

std::u32string comparable(std::string_view text, Case sensitivity) {
    const UnicodeString form =
        comparable(UnicodeString::fromUTF8({text.data(), static_cast<std::int32_t>(text.size())}), sensitivity);
    std::u32string scalars;
    scalars.reserve(static_cast<std::size_t>(form.length()));
    for (std::int32_t i = 0; i < form.length(); i = form.moveIndex32(i, 1))
        scalars += static_cast<char32_t>(form.char32At(i));
    return scalars;
}

std::u32string scalars(std::string_view text) {
    std::u32string scalars;
    for (std::size_t offset = 0; offset < text.size();)
        scalars += next(text, offset);
    return scalars;
}

Character characterBeyondASCII(std::string_view text, std::size_t start, Case sensitivity) {
    std::size_t end = start;
    const char32_t scalar = next(text, end);
    const Scalar& entry = lookUp(scalar);
    const bool isChanged = sensitivity == Case::sensitive ? entry.decomposes : entry.foldsToSeveral;
    const bool takesFolded = entry.first != 0 && (isChanged || sensitivity == Case::insensitive);
    Character character{end, takesFolded ? entry.first : scalar, !isChanged};
    Walk walk(entry);
    while (end < text.size() && walk.joins(lookUp(next(text, end)))) {
        character.end = end;
        character.isWhole = false;
    }
    return character;
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

void FirstScalars::insert(char32_t scalar) {
    scalars_.set(slot(scalar));
    // In a text, where case counts too, all that is looked up is the form without case.
    const char32_t folded = lookUp(scalar).first;
    if (folded != 0) scalars_.set(slot(folded));
    // Marks change their places in a form: a character of marks alone may start with any of them.
    if (u_getCombiningClass(static_cast<UChar32>(scalar)) != 0) scalars_.set();
}

std::size_t FirstScalars::findOrASCII(std::string_view text, std::size_t offset) const {
    while (offset < text.size() && !isASCII(text[offset])) {
        const std::size_t start = offset;
        const char32_t scalar = next(text, offset);
        const char32_t folded = lookUp(scalar).first;
        if (scalars_[slot(folded == 0 ? scalar : folded)]) return start;
    }
    return std::min(offset, text.size());
}

}  // namespace Text
