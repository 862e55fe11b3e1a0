#pragma once

#include <cstddef>
#include <string_view>

namespace Text {

inline constexpr std::size_t longestNormalized = 4096;

/// Whether two UTF-8 texts hold the same characters: canonical equivalence (Unicode 15, definition D70), so that "é"
/// equals "e" with a combining acute. Equal bytes are found equal, and unequal ASCII unequal, without any library.
/// Of texts longer than `longestNormalized` bytes, equal bytes alone are equivalent: the cost of normalising can grow
/// with the square of the length. Throws `std::runtime_error` where the Unicode library is needed and cannot be loaded.
bool canonicallyEquivalent(std::string_view left, std::string_view right);

}  // namespace Text
