#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Foundation {

/// Whether the bytes are well-formed UTF-8 (RFC 3629).
bool isValidUTF8(std::string_view text);

/// How many bytes the text's first scalar takes, or the ill-formed sequence in its place, for which `repairedUTF8` puts
/// one U+FFFD. The text must not be empty.
std::size_t lengthOfFirstScalar(std::string_view text);

/// The bytes as UTF-8 text, each ill-formed sequence (its longest valid start, else one byte: the practice of
/// Unicode 15, section 3.9) replaced by U+FFFD. Never fails.
std::string repairedUTF8(std::string_view bytes);

/// The text in a form that is safe to print on one line of a terminal: ill-formed sequences are replaced, and
/// control characters (C0, DEL, C1, the line and paragraph separators and the bidirectional controls) are written
/// as "\u{1b}".
std::string printable(std::string_view text);

}  // namespace Foundation
