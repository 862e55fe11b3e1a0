#include <cmath>

#include <gtest/gtest.h>

#include "Foundation/Base64.h"
#include "Foundation/Date.h"
#include "Foundation/PropertyList.h"
#include "Foundation/URL.h"
#include "Foundation/UTF8.h"

// clang-format off: the tables hold several short rows on a line.
using namespace Foundation;
using namespace std::string_literals;

namespace {

TEST(PropertyList, BridgesNumbersAsThePlatformDoes) {
    const std::tuple<PropertyList, std::optional<bool>, std::optional<std::int64_t>> rows[] = {
        {{}, {}, {}}, {false, false, {}}, {true, true, {}}, {0, false, 0}, {1, true, 1}, {2, {}, 2}, {-1, {}, -1},
        {-0.0, false, 0}, {1.0, true, 1}, {0.5, {}, {}}, {3.0, {}, 3}, {-0x1p63, {}, INT64_MIN}, {0x1p63, {}, {}},
        {NAN, {}, {}}, {"true", {}, {}}, {"1", {}, {}}, {PropertyList::Array{1}, {}, {}}};
    for (const auto& [value, boolean, integer] : rows)
        EXPECT_EQ(std::tuple(value.boolean(), value.integer()), std::tuple(boolean, integer));
}

TEST(URL, ReadsReferencesAndKeepsTheirSpelling) {
    using Text = std::optional<std::string>;
    const std::tuple<const char*, Text, Text, Text> rows[] = {
        {"HTTPS://Chat.Example:08065/a", "HTTPS", "Chat.Example", "08065"}, {"https://", "https", "", {}},
        {"https://user:pw@h/", "https", "h", {}}, {"http://[::1]:1/", "http", "::1", "1"},
        {"a/b?c", {}, {}, {}}, {"http://h:/", "http", "h", ""}, {"//h/x", {}, "h", {}},
        {"mailto:a@b", "mailto", {}, {}}, {"https:/h", "https", {}, {}}};
    for (const auto& [text, scheme, host, port] : rows) {
        const auto url = URL::parse(text).value();
        EXPECT_EQ(std::tuple(url.scheme(), url.host(), url.port()), std::tuple(scheme, host, port)) << text;
    }
    for (const auto& text : {""s, "a b"s, "https://h/\u00E9"s, "https://h/%4"s, "https://h/%zz"s, "a\0"s,
                             "https://h\n"s, "http://[::1"s, "http://h:80x/"s, "1:2"s})
        EXPECT_FALSE(URL::parse(text)) << testing::PrintToString(text);
}

TEST(URL, AppendsAPathBehindItsOwn) {
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"https://h", "a/b", "https://h/a/b"}, {"p", "a", "p/a"}, {"https://h/p", "/a", "https://h/p/a"},
        {"https://h/p/", "/a", "https://h/p/a"}, {"https://h/p?q=/#f/", "a", "https://h/p/a?q=/#f/"},
        {"https://h?q", "a", "https://h/a?q"}, {"https://h#f", "a", "https://h/a#f"}, {"https://", "a", "https:///a"},
        {"https://h", "a ?#%\u00E9[/../.", "https://h/a%20%3F%23%25%C3%A9%5B/../."}};
    for (const auto& [text, path, expected] : rows) {
        const auto url = URL::parse(text).value();
        const auto appended = url.appending(path), parsed = URL::parse(expected).value();
        EXPECT_EQ(appended, parsed) << text;
        EXPECT_EQ(std::tuple(appended.authority(), appended.host(), appended.path()),
                  std::tuple(parsed.authority(), parsed.host(), parsed.path())) << text;
    }
}

TEST(Base64, IsStrict) {
    const std::pair<std::string, std::optional<Data>> rows[] = {
        {"", Data{}}, {"AA==", Data{0}}, {"AP8=", Data{0, 255}}, {"+/+/", Data{0xFB, 0xFF, 0xBF}}, {"AB==", Data{0}},
        {"AA", {}}, {"AA=", {}}, {"A===", {}}, {"====", {}}, {"=AAA", {}}, {"AA=A", {}}, {"AA==AAAA", {}},
        {"AA==\n", {}}, {"AAA\n", {}}, {"A A=", {}}, {"-_-_", {}}, {"AAA\0"s, {}}, {"AAA\xFF", {}}, {"AAAAA", {}}};
    for (const auto& [text, data] : rows) EXPECT_EQ(base64Decoded(text), data) << text;
    for (const char* text : {"Zg==", "Zm8=", "Zm9vYmFy", "+/8="}) EXPECT_EQ(base64Encoded(*base64Decoded(text)), text);
}

TEST(Date, ReadsRFC3339AndWritesItInUTC) {
    const std::tuple<const char*, double, const char*> rows[] = {
        {"2026-11-23T03:33:48.12+01:00", 1795401228.12, "2026-11-23T02:33:48.120Z"},
        {"2024-02-29T23:59:59.9999-23:59", 1709337539.999, "2024-03-01T23:58:59.999Z"},
        {"1990-12-31t23:59:60z", 662688000, "1991-01-01T00:00:00Z"},
        {"1969-12-31T23:59:58.999Z", -1.001, "1969-12-31T23:59:58.999Z"},
        {"0000-01-01T00:00:00-00:00", -62167219200, "0000-01-01T00:00:00Z"},
        {"9999-12-31T23:59:59.999Z", 253402300799.999, "9999-12-31T23:59:59.999Z"}};
    for (const auto& [text, seconds, written] : rows) {
        EXPECT_EQ(Date::fromRFC3339(text), Date{seconds}) << text;
        EXPECT_EQ(Date{seconds}.rfc3339(), written);
    }
    for (const char* text : {"", "2026-11-23", "2026-11-23T03:33:48", "2026-11-23 03:33:48Z", "2026-11-23T24:00:00Z",
                             "2026-02-30T00:00:00Z", "2026-11-23T03:33:48+0100", "2026-11-23T03:33:48Zx",
                             "9999-12-31T23:59:59-00:01", "0000-01-01T00:00:00+00:01", "2026-11-23T03:33:48.Z",
                             "2026-1-23T03:33:48Z", "2026-11-23T03:60:48Z", "2026-11-23T03:33:60Z",
                             "2026-11-23T03:33:48+24:00"})
        EXPECT_FALSE(Date::fromRFC3339(text)) << text;
    for (const double outside : {double{NAN}, -62167219201.0, 253402300800.0})
        EXPECT_THROW(Date{outside}.rfc3339(), std::invalid_argument);
}

TEST(UTF8, IsRepairedByTheLongestValidStart) {
    const std::pair<std::string, const char*> rows[] = {
        {"a\u00E9\U0001F600", "a\u00E9\U0001F600"}, {"\xF0\x9F\x98z", "\uFFFDz"}, {"\xC0\xAF", "\uFFFD\uFFFD"},
        {"\xE0\x80\x80", "\uFFFD\uFFFD\uFFFD"}, {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"}, {"\x80\xC2", "\uFFFD\uFFFD"},
        {"\xF0\x8F\x80", "\uFFFD\uFFFD\uFFFD"}, {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41", "\uFFFD\uFFFD\uFFFD\uFFFD\x41"},
        {"\xFF\xF4\x8F\xBF\xBF", "\uFFFD\U0010FFFF"}};
    for (const auto& [bytes, text] : rows) EXPECT_EQ(repairedUTF8(bytes) + printable(bytes), text + std::string(text));
    EXPECT_EQ(printable("a\x1B[0m\n\r\0\x7F\u0085\u200F\u202E\u2028\u2066\u061C~\u00A0"s),
              R"(a\u{1b}[0m\u{a}\u{d}\u{0}\u{7f}\u{85}\u{200f}\u{202e}\u{2028}\u{2066}\u{61c}~)" "\u00A0");
}

}  // namespace
