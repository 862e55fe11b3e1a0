#pragma once

#include <cstddef>
#include <string_view>

#include "Text/Characters.h"

namespace ChatModel::NotificationRules {

/// Whether the byte is a letter, a digit or the underscore of ASCII: what words are made of here. No other character
/// is part of a word, letters beyond ASCII included.
constexpr bool isWordByte(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') || byte == '_';
}

/// Where the emoji's name that starts at the offset ends: the offset itself where none does.
inline std::size_t endOfEmojiName(std::string_view text, std::size_t offset) {
    while (offset < text.size() && (isWordByte(text[offset]) || text[offset] == '+' || text[offset] == '-'))
        ++offset;
    return offset;
}

/// Where a text's words are. Valid as long as the text is; quick when asked in rising order.
class Words {
public:
    explicit Words(std::string_view text) : text_(text), characters_(text) {}

    Text::CharacterBoundaries& characters() { return characters_; }

    /// Whether a word character starts at the offset. One with an accent is none.
    bool hasCharacterAt(std::size_t offset) {
        return offset < text_.size() && isWordByte(text_[offset]) && characters_.standsAlone(offset);
    }

    /// Whether a word character ends at the offset.
    bool hasCharacterBefore(std::size_t offset) { return offset > 0 && hasCharacterAt(offset - 1); }

private:
    std::string_view text_;
    Text::CharacterBoundaries characters_;
};

}  // namespace ChatModel::NotificationRules
