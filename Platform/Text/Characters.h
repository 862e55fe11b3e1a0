#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Text {

/// Whether texts that differ in case alone are the same. Case is Unicode's, without a locale: "ß" is "SS" and each form
/// of a Greek sigma the other, but a dotless "ı" is no "I".
enum class Case { sensitive, insensitive };

/// One character of a text as a person sees it: an extended grapheme cluster (UAX #29), be it a letter with its accents
/// or a family of emoji.
struct Character {
    std::size_t end;  ///< where the next one starts, in bytes
    char32_t first;   ///< the first scalar of its `comparable` form
    bool isWhole;     ///< whether that scalar is the whole form
};

/// What stands for a UTF-8 text where texts are compared: two are the same, their accents composed or not, where these
/// scalars are. Its canonical decomposition (NFD), and where case does not count what becomes of that by case folding
/// (Unicode 15, definitions D70 and D145). A text's form is that of its characters, one behind the other. Ill-formed
/// bytes stand as U+FFFD. The cost can grow with the square of the longest run of combining marks. As all functions
/// here that read a text it throws `std::bad_alloc`, and `std::runtime_error` where ICU fails, its data missing.
std::u32string comparable(std::string_view text, Case sensitivity);

inline bool isASCII(char byte) {
    return (byte & 0x80) == 0;
}

/// The small letter of a capital one of ASCII; any other as it is, whatever the locale.
constexpr char32_t loweredASCII(char32_t scalar) {
    return scalar >= 'A' && scalar <= 'Z' ? scalar + ('a' - 'A') : scalar;
}

Character characterBeyondASCII(std::string_view text, std::size_t start, Case sensitivity);

/// The character that starts at the offset, a boundary between characters in front of the text's end. As all functions
/// here it may be called from several threads.
inline Character characterAt(std::string_view text, std::size_t start, Case sensitivity) {
    const char byte = text[start];
    const std::size_t end = start + 1;
    const bool isAlone = end == text.size() || (isASCII(text[end]) && byte != '\r');
    if (!isASCII(byte) || !isAlone) return characterBeyondASCII(text, start, sensitivity);
    const auto scalar = static_cast<char32_t>(byte);
    return {end, sensitivity == Case::insensitive ? loweredASCII(scalar) : scalar, true};
}

/// How many characters the text has; ill-formed bytes stand as U+FFFD.
std::size_t characterCount(std::string_view text);

/// Tells where a text's characters meet. Asked in rising order it takes time in proportion to the text, however often
/// it is asked. Valid as long as the text is.
class CharacterBoundaries {
public:
    explicit CharacterBoundaries(std::string_view text) : text_(text) {}

    /// Whether a character starts at the offset, or the text ends there. It must not lie within a scalar.
    bool contain(std::size_t offset) {
        if (offset == 0 || offset == text_.size()) return true;
        const char before = text_[offset - 1], behind = text_[offset];
        if (isASCII(before) && isASCII(behind)) return before != '\r' || behind != '\n';
        return containBeyondASCII(offset);
    }

    /// Whether the ASCII character at the offset is a character by itself: it has no accent, and is not half of a line
    /// end of two.
    bool standsAlone(std::size_t offset) { return contain(offset) && contain(offset + 1); }

private:
    bool containBeyondASCII(std::size_t offset);

    std::string_view text_;
    std::size_t start_ = 0;  ///< of the character that was walked over last
    std::size_t end_ = 0;    ///< of the same
};

}  // namespace Text
