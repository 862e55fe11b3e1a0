#pragma once

#include <string_view>

namespace Text {

/// The UTF-8 text without the white space and line ends at both its ends: the characters with Unicode's White_Space
/// property. Ill-formed bytes are none. The result is a part of `text` and as valid.
std::string_view trimmed(std::string_view text);

}  // namespace Text
