#include "Text/Collation.h"

#include <algorithm>
#include <array>
#include <new>

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/ucol.h>
#include <unicode/uiter.h>
#include <unicode/unistr.h>

#include "Text/ICU.h"

namespace Text {

namespace {

std::int32_t sizeOf(std::string_view text) {
    return static_cast<std::int32_t>(text.size());
}

}  // namespace

struct Collation::Rules {
    std::unique_ptr<icu::Collator> collator;
};

UnknownLocale::UnknownLocale(std::string_view tag)
    : tag_(tag), message_('"' + tag_ + "\" is not the tag of a language that is known") {}

Collation::Collation(std::string_view locale) {
    UErrorCode error = U_ZERO_ERROR;
    const auto known = icu::Locale::forLanguageTag({locale.data(), sizeOf(locale)}, error);
    // To a language that it does not know ICU gives the order of the root.
    if (U_FAILURE(error) || *known.getISO3Language() == '\0') throw UnknownLocale(locale);
    std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(known, error));
    if (error == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
    if (U_FAILURE(error)) throw UnknownLocale(locale);  // "en-u-ka-bogus"
    // The tag may have asked for another one of each.
    collator->setAttribute(UCOL_STRENGTH, UCOL_SECONDARY, error);
    collator->setAttribute(UCOL_CASE_LEVEL, UCOL_OFF, error);
    collator->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, error);
    check(error);
    rules_ = std::make_shared<const Rules>(Rules{std::move(collator)});
}

// Two texts are compared by their keys alone: where a common beginning ends in a digit and one beyond ASCII follows,
// ICU 72 compares them as if the number started there, in most locales, and so in no order at all.
std::string Collation::sortKey(std::string_view text) const {
    const auto utf16 = icu::UnicodeString::fromUTF8({text.data(), sizeOf(text)});
    std::array<std::uint8_t, 256> bytes;  // as long as most keys
    std::int32_t size = rules_->collator->getSortKey(utf16, bytes.data(), bytes.size());
    if (size <= 0) throw std::bad_alloc();
    const auto count = static_cast<std::size_t>(size);
    std::string key(bytes.data(), bytes.data() + std::min(count, bytes.size()));
    if (count > bytes.size()) {
        key.resize(count);
        size = rules_->collator->getSortKey(utf16, reinterpret_cast<std::uint8_t*>(key.data()), size);
    }
    key.pop_back();  // ICU ends it with 0
    return key;
}

Collation::SortKeyPrefix Collation::sortKeyPrefix(std::string_view text) const {
    UCharIterator characters;
    uiter_setUTF8(&characters, text.data(), sizeOf(text));
    std::array<std::uint8_t, 12> bytes{};
    std::array<std::uint32_t, 2> state{};
    UErrorCode error = U_ZERO_ERROR;
    ucol_nextSortKeyPart(rules_->collator->toUCollator(), &characters, state.data(), bytes.data(), bytes.size(),
                         &error);
    check(error);
    SortKeyPrefix prefix;
    for (std::size_t i = 0; i < 8; ++i)
        prefix.first = prefix.first << 8 | bytes[i];
    for (std::size_t i = 8; i < bytes.size(); ++i)
        prefix.second = prefix.second << 8 | bytes[i];
    return prefix;
}

}  // namespace Text
