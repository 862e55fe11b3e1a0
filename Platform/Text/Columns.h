#pragma once

#include <cstddef>
#include <string_view>

namespace Text {

/// How many columns of a terminal the UTF-8 text takes, drawn on one line. It is the sum of its characters
/// (`characterAt`), each of which takes 0 to 2: the columns of its scalars added up, but never more than 2, so that a
/// flag or a family of emoji takes two. A scalar takes two where it is East Asian Wide or Fullwidth (UAX #11), or
/// U+FE0F makes it an emoji (UTS #51); none where it is a mark without a width of its own, a format character, a vowel
/// or final of Hangul, or a control character; else one, ambiguous ones too, and U+FFFD for ill-formed bytes.
///
/// Terminals differ: those that know no characters, only scalars, need more for joined emoji. May be called from several
/// threads. Takes time in proportion to the text.
std::size_t columnCount(std::string_view text);

}  // namespace Text
