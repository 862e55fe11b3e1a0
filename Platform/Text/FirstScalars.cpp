#include "Text/FirstScalars.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include "Text/Characters.h"
#include "Text/ICU.h"

namespace Text {

namespace {

// The syllables of Hangul are computed (Unicode 15, section 3.12).
constexpr char32_t firstInitial = 0x1100;
constexpr char32_t initialCount = 19;
constexpr char32_t firstSyllable = 0xAC00;
constexpr char32_t syllablesOfInitial = 588;

/// The planes beyond hold ideographs that are their own forms.
constexpr UChar32 endOfPlanes = 0x30000;

/// The ways in which UTF-8 spells some scalars beyond ASCII that have their first byte in common: which lower bits the
/// second and the third byte have. Where there is no third one, what follows may be any.
struct Spelling {
    explicit Spelling(char32_t scalar) {
        char bytes[U8_MAX_LENGTH];
        std::size_t length = 0;
        U8_APPEND_UNSAFE(bytes, length, scalar);
        lead = static_cast<std::uint8_t>(bytes[0]);
        seconds = std::uint64_t{1} << (bytes[1] & 0x3F);
        if (length > 2) thirds = std::uint64_t{1} << (bytes[2] & 0x3F);
    }

    std::uint8_t lead;
    std::uint64_t seconds;
    std::uint64_t thirds = ~std::uint64_t{0};
};

struct Gathered {
    /// What forms without case start with, each with the spellings of other scalars that have such a form, in order.
    std::vector<std::pair<char32_t, Spelling>> variants;

    std::vector<Spelling> prepending;
};

/// What the form without case of a scalar starts with.
char32_t folded(UChar32 code) {
    UErrorCode error = U_ZERO_ERROR;
    const icu::Normalizer2* const nfd = icu::Normalizer2::getNFDInstance(error);
    check(error);
    icu::UnicodeString form = nfd->normalize(icu::UnicodeString(code), error).foldCase(U_FOLD_CASE_DEFAULT);
    form = nfd->normalize(form, error);
    check(error);
    return static_cast<char32_t>(form.char32At(0));
}

Gathered gather() {
    UErrorCode error = U_ZERO_ERROR;
    const icu::Normalizer2* const nfd = icu::Normalizer2::getNFDInstance(error);
    check(error);
    Gathered gathered;
    for (UChar32 code = 0x80; code < endOfPlanes; ++code) {
        const int category = u_charType(code);
        if (category == U_UNASSIGNED || category == U_PRIVATE_USE_CHAR || category == U_SURROGATE) continue;
        const auto scalar = static_cast<char32_t>(code);
        if (scalar - firstSyllable < initialCount * syllablesOfInitial) continue;
        // Letters of no case are most of all.
        const bool mayFold =
            category != U_OTHER_LETTER && u_hasBinaryProperty(code, UCHAR_CHANGES_WHEN_CASEFOLDED) != 0;
        if (mayFold || nfd->isInert(code) == 0)
            if (const char32_t first = folded(code); first != scalar)
                gathered.variants.emplace_back(first, Spelling(scalar));
        if (category == U_FORMAT_CHAR || category == U_OTHER_LETTER)
            if (u_getIntPropertyValue(code, UCHAR_GRAPHEME_CLUSTER_BREAK) == U_GCB_PREPEND)
                gathered.prepending.emplace_back(scalar);
    }
    auto& variants = gathered.variants;
    const auto place = [](const auto& variant) { return std::pair(variant.first, variant.second.lead); };
    std::sort(variants.begin(), variants.end(),
              [&](const auto& one, const auto& other) { return place(one) < place(other); });
    auto last = variants.begin();
    for (auto variant = variants.begin(); variant != variants.end(); ++variant) {
        if (place(*variant) != place(*last)) *++last = *variant;
        last->second.seconds |= variant->second.seconds;
        last->second.thirds |= variant->second.thirds;
    }
    variants.erase(std::next(last), variants.end());
    return gathered;
}

const Gathered& gathered() {
    static const Gathered gathered = gather();
    return gathered;
}

}  // namespace

void FirstScalars::insert(char32_t first) {
    const auto add = [&](const Spelling& spelling) {
        seconds_[spelling.lead] |= spelling.seconds;
        thirds_[spelling.lead] |= spelling.thirds;
    };
    char32_t form = loweredASCII(first);
    if (first >= 0x80) {
        form = folded(static_cast<UChar32>(first));
        // Marks change their places in a form: a character of marks alone may start with any of them. And what stands
        // for ill-formed bytes stands for any.
        if (u_getCombiningClass(static_cast<UChar32>(first)) != 0 || first == U'\uFFFD') {
            seconds_.fill(~std::uint64_t{0});
            thirds_.fill(~std::uint64_t{0});
        }
        add(Spelling(first));
        if (form >= 0x80) add(Spelling(form));
    }
    const auto& variants = gathered().variants;
    const auto isBefore = [](const auto& variant, char32_t scalar) { return variant.first < scalar; };
    for (auto found = std::lower_bound(variants.begin(), variants.end(), form, isBefore);
         found != variants.end() && found->first == form; ++found)
        add(found->second);
    if (form - firstInitial < initialCount)
        for (char32_t i = 0; i < syllablesOfInitial; ++i)
            add(Spelling(firstSyllable + (form - firstInitial) * syllablesOfInitial + i));
}

void FirstScalars::insert(const FirstScalars& other) {
    for (std::size_t lead = 0; lead < seconds_.size(); ++lead) {
        seconds_[lead] |= other.seconds_[lead];
        thirds_[lead] |= other.thirds_[lead];
    }
}

const FirstScalars& FirstScalars::prepending() {
    static const FirstScalars scalars = [] {
        FirstScalars made;
        for (const Spelling& spelling : gathered().prepending) {
            made.seconds_[spelling.lead] |= spelling.seconds;
            made.thirds_[spelling.lead] |= spelling.thirds;
        }
        return made;
    }();
    return scalars;
}

}  // namespace Text
