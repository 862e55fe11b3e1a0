#pragma once

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <unicode/brkiter.h>
#include <unicode/normalizer2.h>
#include <unicode/normlzr.h>

#include "ChatModel/MentionKey.h"

/// The search for mention keys, slow and obvious, by ICU.
namespace SlowMentions {

inline UErrorCode error = U_ZERO_ERROR;

/// The text's characters as a person sees them.
inline std::vector<std::string> characters(const std::string& text) {
    static const std::unique_ptr<icu::BreakIterator> iterator(icu::BreakIterator::createCharacterInstance("", error));
    const auto whole = icu::UnicodeString::fromUTF8(text);
    iterator->setText(whole);
    std::vector<std::string> found;
    for (std::int32_t start = 0, end; (end = iterator->next()) != icu::BreakIterator::DONE; start = end)
        whole.tempSubStringBetween(start, end).toUTF8String(found.emplace_back());
    return found;
}

/// Whether a character of the key is of a script whose keys need be no words.
inline bool isWordless(const icu::UnicodeString& key) {
    constexpr std::pair<UChar32, UChar32> blocks[] = {{0x400, 0x52F},   {0xE00, 0xE7F},   {0x1100, 0x11FF},
                                                      {0x2DE0, 0x2DFF}, {0x3000, 0x30FF}, {0x3130, 0x318F},
                                                      {0x3400, 0x4DBF}, {0x4E00, 0x9FAF}, {0xAC00, 0xD7A3},
                                                      {0xFF00, 0xFF9F}};
    const auto decomposed = icu::Normalizer2::getNFDInstance(error)->normalize(key, error);
    for (std::int32_t i = 0; i < decomposed.length(); i = decomposed.moveIndex32(i, 1))
        for (const auto& [first, last] : blocks)
            if (const auto scalar = decomposed.char32At(i); first <= scalar && scalar <= last) return true;
    return false;
}

/// Whether a search of all parts of the text, given in characters, finds the key.
inline bool isFound(const ChatModel::NotificationRules::MentionKey& key, const std::vector<std::string>& text) {
    const auto wanted = icu::UnicodeString::fromUTF8(key.key);
    const bool anywhere = isWordless(wanted);
    const std::uint32_t options = key.caseSensitive ? 0 : U_COMPARE_IGNORE_CASE;
    const auto isWord = [&](std::size_t i) {
        return i < text.size() && text[i].size() == 1 && (std::isalnum(text[i][0]) != 0 || text[i] == "_");
    };
    const auto isBoundary = [&](std::size_t i) { return isWord(i - 1) != isWord(i); };
    for (std::size_t start = 0; start < text.size(); ++start) {
        icu::UnicodeString part;
        for (std::size_t end = start + 1; end <= text.size(); ++end) {
            part += icu::UnicodeString::fromUTF8(text[end - 1]);
            auto behind = end;
            while (behind < text.size() && text[behind] == "_") ++behind;
            if (!anywhere && (isWord(start - 1) || (!isBoundary(end) && !isBoundary(behind)))) continue;
            if (icu::Normalizer::compare(part, wanted, options, error) == 0) return true;
        }
    }
    return false;
}

}  // namespace SlowMentions
