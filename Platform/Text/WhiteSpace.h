#pragma once

#include <string_view>

namespace Text {

/// The UTF-8 text without the white space and line ends at both its ends: the characters with Unicode's White_Space
/// property. Ill-formed bytes are none. The result is a part of `text` and as valid.
std::string_view trimmed(std::string_view text);

/// The same, but line ends stay: U+000A to U+000D, U+0085, U+2028 and U+2029.
std::string_view trimmedOfBlanks(std::string_view text);

}  // namespace Text
