#include "Text/Columns.h"

#include <gtest/gtest.h>

namespace {

TEST(ColumnCount, IsWhatATerminalShows) {
    const std::pair<std::string_view, std::size_t> rows[] = {
        {"", 0}, {"abc d", 5}, {"\n\t\x1B\x7F", 0}, {"\u0085\u2028", 0}, {"\r\nx", 1}, {"\u00E9e\u0301", 2},
        {"\u0301", 0}, {"a\u200B\u2060\uFEFF", 1}, {"\u00AD\u0600", 2}, {"\u2026\u25CF\u03B1", 3},  // ambiguous ones
        {"\u4E16\u754C", 4}, {"\uFF21\uFF71", 3}, {"\uAC00\u1100\u1161\u11A8", 4}, {"\u0E19\u0E49\u0E33", 2},
        {"\u0915\u094D\u0937", 2}, {"\u0645\u064E\u0631", 2}, {"\U0001F600", 2}, {"\u2764", 1}, {"\u2764\uFE0F", 2},
        {"a\uFE0F", 1}, {"1\uFE0F\u20E3", 2}, {"\U0001F44D\U0001F3FD", 2}, {"\u261D\U0001F3FD", 2},
        {"\U0001F1E9\U0001F1EAx", 3}, {"\U0001F469\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466", 2},
        {"\xFF\xE2\x82z\xC3", 4}};
    for (const auto& [text, columns] : rows) EXPECT_EQ(Text::columnCount(text), columns) << text;
}

}  // namespace
