#include "tessel/Drawing.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <optional>
#include <utility>

#include <sys/ioctl.h>
#include <unistd.h>

#include "Foundation/Environment.h"
#include "Foundation/UTF8.h"
#include "Text/Characters.h"
#include "Text/Columns.h"

namespace tessel {

namespace {

constexpr std::size_t tabStop = 4;

/// The width that is asked for by $COLUMNS, where that is a number.
std::optional<std::size_t> columnsOfEnvironment() {
    const auto text = Foundation::environmentVariable("COLUMNS");
    if (!text) return std::nullopt;
    std::size_t columns = 0;
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), columns);
    if (error != std::errc() || end != text->data() + text->size() || columns == 0) return std::nullopt;
    return columns;
}

std::optional<std::size_t> columnsOfTerminal() {
    winsize size{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return std::nullopt;
    return size.ws_col;
}

/// The character that starts at the offset.
std::string_view characterOf(std::string_view text, std::size_t start) {
    return text.substr(start, Text::characterAt(text, start, Text::Case::sensitive).end - start);
}

/// Without control characters, tabs being blanks.
std::string harmless(std::string_view line) {
    std::string result;
    while (true) {
        const std::size_t tab = line.find('\t');
        const std::string part = Foundation::printable(line.substr(0, tab));
        result += part;
        if (tab == line.npos) return result;
        result.append(tabStop - Text::columnCount(part) % tabStop, ' ');
        line.remove_prefix(tab + 1);
    }
}

/// Breaks lines.
class Wrapping {
public:
    Wrapping(std::size_t columns, std::vector<std::string>& lines) : columns_(columns), lines_(lines) {}

    void add(std::string_view line) {
        Text::CharacterBoundaries boundaries(line);
        for (std::size_t start = 0; start < line.size();) {
            std::size_t word = start;
            while (word < line.size() && line[word] == ' ' && boundaries.standsAlone(word))
                ++word;
            std::size_t end = word;
            while (end < line.size() && !(line[end] == ' ' && boundaries.standsAlone(end)))
                ++end;
            if (end > word) addWord(word - start, line.substr(word, end - word));
            start = end;
        }
        breakLine();
    }

private:
    void addWord(std::size_t blanks, std::string_view word) {
        const std::size_t needed = Text::columnCount(word);
        const bool fits = used_ + blanks + needed <= columns_;
        // A word that is too long for any line need not wait for the next one.
        if (fits || (needed > columns_ && used_ + blanks < columns_)) {
            line_.append(blanks, ' ');
            used_ += blanks;
        } else if (used_ != 0) {
            breakLine();
        }
        if (needed <= columns_)
            append(word, needed);
        else
            addByCharacters(word);
    }

    void addByCharacters(std::string_view word) {
        for (std::size_t start = 0; start < word.size();) {
            const std::string_view character = characterOf(word, start);
            const std::size_t needed = Text::columnCount(character);
            if (used_ + needed > columns_) breakLine();
            append(character, needed);
            start += character.size();
        }
    }

    void append(std::string_view text, std::size_t columns) {
        line_ += text;
        used_ += columns;
    }

    void breakLine() {
        lines_.push_back(std::exchange(line_, {}));
        used_ = 0;
    }

    std::size_t columns_;
    std::vector<std::string>& lines_;
    std::string line_;
    std::size_t used_ = 0;
};

const char* parameters(Style style) {
    switch (style) {
        case Style::plain:
            break;
        case Style::bold:
            return "1";
        case Style::dim:
            return "2";
        case Style::own:
            return "1;36";
        case Style::marked:
            return "1;33";
        case Style::alarming:
            return "1;31";
    }
    return "";
}

}  // namespace

Screen Screen::ofStandardOutput() {
    Screen screen;
    auto columns = columnsOfTerminal();
    if (!columns) columns = columnsOfEnvironment();
    screen.columns = std::clamp(columns.value_or(screen.columns), fewestColumns, mostColumns);
    screen.hasColors = ::isatty(STDOUT_FILENO) == 1 && !Foundation::environmentVariable("NO_COLOR") &&
                       Foundation::environmentVariable("TERM") != "dumb";
    return screen;
}

std::string Screen::styled(std::string_view text, Style style) const {
    if (!hasColors || style == Style::plain || text.empty()) return std::string(text);
    return std::string("\033[").append(parameters(style)).append("m").append(text).append("\033[0m");
}

std::string ruled(const Screen& screen, const std::string& label, std::string_view glyph, Style style) {
    const std::string text = ' ' + cut(label, screen.columns - 4) + ' ';
    const std::size_t glyphs = screen.columns - Text::columnCount(text);
    std::string line;
    for (std::size_t i = 0; i < glyphs; ++i) {
        if (i == glyphs / 2) line += text;
        line += glyph;
    }
    return screen.styled(line, style) + '\n';
}

std::string cut(std::string_view text, std::size_t columns) {
    std::string shown = Foundation::printable(text);
    std::size_t used = 0;
    std::size_t kept = 0;  // what leaves room for the mark
    for (std::size_t start = 0; start < shown.size();) {
        const std::string_view character = characterOf(shown, start);
        used += Text::columnCount(character);
        start += character.size();
        if (used > columns) return shown.substr(0, kept) + "…";
        if (used < columns) kept = start;
    }
    return shown;
}

std::vector<std::string> wrapped(std::string_view text, std::size_t columns) {
    std::vector<std::string> lines;
    Wrapping wrapping(columns, lines);
    for (bool goesOn = true; goesOn;) {
        const std::size_t end = text.find('\n');
        goesOn = end != text.npos;
        std::string_view line = text.substr(0, end);
        if (goesOn && line.ends_with('\r')) line.remove_suffix(1);
        wrapping.add(harmless(line));
        if (goesOn) text.remove_prefix(end + 1);
    }
    return lines;
}

std::vector<std::string> flowed(const Screen& screen, const std::vector<Span>& parts, std::size_t columns) {
    constexpr std::size_t gap = 2;
    std::vector<std::string> lines;
    std::size_t used = columns;
    for (const auto& part : parts) {
        const std::string text = cut(part.text, columns);
        const std::size_t needed = Text::columnCount(text);
        if (used + gap + needed > columns) {
            lines.emplace_back();
            used = 0;
        } else {
            lines.back().append(gap, ' ');
            used += gap;
        }
        lines.back() += screen.styled(text, part.style);
        used += needed;
    }
    return lines;
}

}  // namespace tessel
