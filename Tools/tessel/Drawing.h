#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace tessel {

/// How a text is set off, where there are colours. What it tells must be told without it too.
enum class Style { plain, bold, dim, own, marked, alarming };

/// What is drawn on: a terminal, or whatever else takes text.
struct Screen {
    static constexpr std::size_t fewestColumns = 40;
    static constexpr std::size_t mostColumns = 120;

    std::size_t columns = 80;  ///< at least `fewestColumns`; at most `mostColumns`, beyond which lines are hard to read
    bool hasColors = false;

    /// What standard output leads to. Its columns are the terminal's, else $COLUMNS. It has colours where it is a
    /// terminal, unless NO_COLOR is set and not empty (https://no-color.org), or TERM is "dumb".
    static Screen ofStandardOutput();

    /// The text in a style (SGR, ECMA-48 section 8.3.117).
    std::string styled(std::string_view text, Style style) const;
};

/// A text in a style.
struct Span {
    std::string text;
    Style style = Style::plain;
};

/// A line across the screen with a label in its middle, made of a glyph that takes one column; ended, as all lines
/// that are drawn.
std::string ruled(const Screen& screen, const std::string& label, std::string_view glyph, Style style);

/// The text on one line, whatever it holds, and in no more columns than these; where it is longer, "…" ends it.
std::string cut(std::string_view text, std::size_t columns);

/// The text on lines of at most so many columns, 2 or more: its own lines, broken at blanks, and words that are too
/// long between characters. Tabs become blanks, other control characters are spelled out.
std::vector<std::string> wrapped(std::string_view text, std::size_t columns);

/// The parts, two blanks apart, on lines of at most so many columns; one that is too long for a line is cut.
std::vector<std::string> flowed(const Screen& screen, const std::vector<Span>& parts, std::size_t columns);

}  // namespace tessel
