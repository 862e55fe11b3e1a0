#include <gtest/gtest.h>

#include "Text/CanonicalEquivalence.h"
#include "Text/Columns.h"
#include "Text/WhiteSpace.h"

using namespace std::string_literals;

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

TEST(CanonicalEquivalence, IsThatOfUnicode) {
    const std::tuple<std::string, std::string, bool> rows[] = {
        {"", "\u0301", false}, {"a", "A", false}, {"\u00E9", "e\u0301", true}, {"\u00E9", "e\u0300", false},
        {"\u212A", "K", true}, {"\uFB01", "fi", false}, {"\xFF", "a", false}, {"\xFF", "\xFE", true},
        {"\u1F82\u1F82\u1F82\u1F82\u1F82", "\u1F82\u1F82\u1F82\u1F82\u03B1\u0313\u0300\u0345", true}};
    for (const auto& [left, right, expected] : rows)
        for (const auto& [one, other] : {std::pair(left, right), {right, left}})
            EXPECT_EQ(Text::canonicallyEquivalent(one, other), expected) << one << " and " << other;
}

TEST(WhiteSpace, IsTrimmedAtBothEndsAlone) {
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {" \t\r\n\v\f", "", "\r\n\v\f"}, {" a \u00A0b\n", "a \u00A0b", "a \u00A0b\n"}, {"\u200B", "\u200B", "\u200B"},
        {"\x1F\x0E", "\x1F\x0E", "\x1F\x0E"}, {"a\0 "s, "a\0"s, "a\0"s}, {"a\u00A0\x80", "a\u00A0\x80", "a\u00A0\x80"},
        {"\u0085\u1680\u2000 \u00E9\U0001F600\u2028\u2029\u3000", "\u00E9\U0001F600",
         "\u0085\u1680\u2000 \u00E9\U0001F600\u2028\u2029"}, {"\u1680\u2000 \u2028\u3000", "", "\u2028"},
        {" \xC2", "\xC2", "\xC2"}, {"\xA0 ", "\xA0", "\xA0"}, {"\u0085\xE2\x80", "\xE2\x80", "\u0085\xE2\x80"}};
    for (const auto& [text, all, blanks] : rows)
        EXPECT_TRUE(Text::trimmed(text) == all && Text::trimmedOfBlanks(text) == blanks) << testing::PrintToString(text);
}

}  // namespace
