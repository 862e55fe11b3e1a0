#pragma once

#include <cstddef>
#include <string_view>

namespace Text {

/// How many columns of a terminal the UTF-8 text takes, drawn on one line. It is the sum of its characters
/// (`characterAt`), each of which takes the columns of its scalars added up, but never more than 2, so that a flag or a
/// family of emoji takes two. A scalar takes two where it is East Asian Wide or Fullwidth (UAX #11), or U+FE0F makes it
/// an emoji (UTS #51); none where it is a mark without a width of its own, a format character or a control character;
/// else one, those of ambiguous width and U+FFFD for ill-formed bytes too.
///
/// Terminals differ. Those that know scalars but no characters take more for joined emoji, and some take less for
/// vowels that stand beside their consonant. May be called from several threads. Takes time in proportion to the text.
std::size_t columnCount(std::string_view text);

}  // namespace Text
