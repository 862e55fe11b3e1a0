#include <algorithm>
#include <random>
#include <regex>
#include <set>
#include <sstream>

#include <gtest/gtest.h>
#include "ChatModel/MentionMatcher.h"
#include "ChatModel/MentionText.h"
#include "ChatModel/ServerJSON.h"
#include "ChatModel/SlowMentions.h"
#include "Text/Characters.h"

// clang-format off: the tables hold several short rows on a line.
using namespace ChatModel;
using namespace ChatModel::NotificationRules;
using namespace std::string_literals;

namespace {

TEST(MentionKey, AreWhatTheUserAsksFor) {
    const std::tuple<NotifyProps, const char*, std::string> rows[] = {  // an exclamation mark where case counts
        {{{"mention_keys", ""}, {"first_name", "True"}, {"channel", "True"}}, "Bob", "@bob"},
        {{{"mention_keys", ","}}, "", "||@bob"}, {{{"mention_keys", " a,,B"}}, "", " a||B|@bob"}, {{}, "", "@bob"},
        {{{"mention_keys", "x,@bob"}}, "", "x|@bob"}, {{{"mention_keys", "@Bob"}}, "", "@Bob|@bob"},
        {{{"mention_keys", "a,\u0301b"}}, "", "a,\u0301b|@bob"}, {{{"first_name", "true"}}, "", "@bob"},
        {{{"mention_keys", "x"}, {"first_name", "true"}, {"channel", "true"}}, "Bo", "x|Bo!|@channel|@all|@here|@bob"},
        {{{"first_name", "true"}}, "@bob", "@bob!"}};
    for (const auto& [props, first, expected] : rows) {
        std::string keys;
        for (const auto& [key, caseSensitive] : mentionKeys({"", "bob", {}, "", first, "", props, {}}))
            keys += '|' + key + (caseSensitive ? "!" : "");
        EXPECT_EQ(keys, '|' + expected);
    }
}

TEST(MentionText, IsOfMessageAndAttachmentsWithoutEmojiCodes) {
    Post post;
    post.message = "m";
    post.props["attachments"] = ServerJSON<JSONValue>::decode(
        R"([{"fields":[{"title":"k","value":"v"},{"title":"","value":1}],"fallback":"z","author_name":"z","text":"x",)"
        R"("title":"t","footer":"f","pretext":"p"},{"text":":*y: :b*ob:"}])");
    const auto plain = [](auto text) { return std::regex_replace(std::string(text), std::regex("[*]"), ""); };
    EXPECT_EQ(mentionText(post, plain), "m\np\nt\nx\nf\nk\nv\n1\n ");
    const std::pair<const char*, const char*> rows[] = {
        {"a :b: c", "a  c"}, {":AZ_az-09+:", ""}, {"x:b:", "x:b:"}, {":b:x", ":b:x"}, {":a:b:", ":a:b:"}, {"::a:", ":"},
        {":a::b:", ""}, {":a+:b:", ":a+"}, {":a:-b:", "-b:"}, {"::", "::"}, {":a", ":a"}, {":a b:", ":a b:"},
        {"x\u0301:a:\u00E9", "x\u0301\u00E9"}, {":a:\r\n:b:", "\r\n"}, {":\u0301a:", ":\u0301a:"},
        {":a\u0301:", ":a\u0301:"}, {":a:\u0301", ":a:\u0301"}, {"\u0600:a:", "\u0600:a:"}};
    for (const auto& [text, rest] : rows)
        for (const std::string& longer : {text + ":"s, text + "x"s})
            EXPECT_EQ(withoutEmojiCodes(std::string_view(longer).substr(0, longer.size() - 1)), rest);
}

TEST(MentionMatcher, FindsKeysAsAPersonReadsThem) {
    const std::tuple<const char*, std::vector<MentionKey>, bool> rows[] = {
        {"hi @bob!", {{"@bob"}}, true}, {"@BOB_", {{"@bob"}}, true}, {"(@bob)", {{"@bob"}}, true}, {"", {{""}}, false},
        {"x@bob", {{"@bob"}}, false}, {"@bobby", {{"@bob"}}, false}, {"bob_ ", {{"bob"}}, true}, {"a", {{""}}, false},
        {"bob_x", {{"bob"}}, false}, {"_bob", {{"bob"}}, false}, {"bob", {{"Bob", true}}, false}, {"a", {}, false},
        {"x+", {{"x+"}}, false}, {"x+y", {{"x+"}}, true}, {"xa-a-a", {{"a-a"}}, true}, {"I", {{"i"}}, true},
        {"stra\u00DFe", {{"STRASSE"}}, true}, {"STRASSE", {{"stra\u00DFe"}}, true}, {"\u0131x", {{"ix"}}, false},
        {"STRASSE", {{"stra\u00DFe", true}}, false}, {"\u0130x", {{"ix"}}, false}, {"xBx\u4E2D", {{"b"}}, false},
        {"\u039F\u03A3x", {{"\u03BF\u03C2"}}, true}, {"e\u0301", {{"e"}}, false}, {"e\u0301 a", {{"\u00E9 a"}}, true},
        {"\U0001F1E9\U0001F1EA!x", {{"\U0001F1EA!"}}, false}, {"\r\nb", {{"\nb"}}, false}, {"\u0600b", {{"b"}}, false},
        {"\xFFx", {{"\uFFFDX"}}, true}, {";\u0301\x80x", {{"\x80x"}}, true}, {"b\xFF", {{"b"}}, true},
        {"bobb", {{"bob"}, {"bobby"}}, false}, {"xBob bobby", {{"bob"}, {"bobby"}}, true},
        {"y b-c", {{"y b-d"}, {"b-c"}}, true}, {"\u0438\r\n", {{"\u0438\r"}}, false},
        {"xx\u303F", {{"x\u303F"}}, true}, {"\u0301\u0323x", {{"\u0323\u0301"}}, true},
        {"j\u00E9x", {{"\uFFFDx"}}, false}};
    for (const auto& [text, keys, matches] : rows)
        EXPECT_EQ(MentionMatcher(keys).matches(text), matches) << text << " for " << (keys.empty() ? "" : keys[0].key);
    EXPECT_FALSE(MentionMatcher({{"a\0b"s}}).matches("a.b"));
    for (const auto& [first, end] :  // the blocks that need no words, those together that touch
         {std::pair(0x400, 0x530), {0xE00, 0xE80}, {0x1100, 0x1200}, {0x2DE0, 0x2E00}, {0x3000, 0x3100},
          {0x3130, 0x3190}, {0x3400, 0x4DC0}, {0x4E00, 0x9FB0}, {0xAC00, 0xD7A4}, {0xFF00, 0xFFA0}})
        for (const int scalar : {first - 1, first, end - 1, end}) {
            std::string key = "x";
            icu::UnicodeString(scalar).toUTF8String(key);
            EXPECT_EQ(MentionMatcher({{key}}).matches('y' + key), scalar == first || scalar == end - 1) << key;
        }
    const auto accents = "a" + std::regex_replace(std::string(600, '.'), std::regex("."), "\u0301");
    EXPECT_FALSE(MentionMatcher({{accents + "b"}, {"!b"}}).matches("!" + accents + "b"));  // beyond what is compared
    EXPECT_TRUE(MentionMatcher({{accents}, {"b"}}).matches(accents + "b"));
}

TEST(MentionMatcher, FindsWhatASlowOneFinds) {
    const char* const pools[] = {  // of what affects each other
        "a|b|_| |+|@|A", "a|A|_| |+|\r|\n|:|x", "s|S|\u00DF|\u017F|\u1E9E|k|\u212A|K| |_", "i|I|\u0131|\u0130|\u0307|.",
        "e|\u00E9|E\u0301|\u0301|\u0323|_| |x", "\u0600|a|b|@|_| |\u0301|+", "\u0438|\u0418|\u0439|\u0419|\u0306|a|_",
        "\u03C3|\u03C2|\u03A3|\u03B1|\u1FB3|\u0345|\u03B9| |_|a", "\u0915|\u094D|\u0937|\u200D|\u0941|\u093C",
        "\U0001F1E9|\U0001F1EA|\u0301|a|_", "\U0001F469|\u200D|\U0001F3FD|b", "\uAC00|\u1100|\u1161|\uAC01|\u11A8",
        "\uFB01|f|i|F|\uFB00|\u0149|\u02BC|n|\u1E9A|a|\u02BE", "\u2177|\u2126|\u03A9|\u212B|\u00C5|\u00E5|a\u030A| |_",
        "\u0903|\U0001F468|\u2764|\uFE0F|\u0085|\u20E3|\u00A9|\U000110BD", "\u4E2D|\u304B|\u304C|\u3099|\u0E33|a"};
    std::mt19937 random(1);
    for (int round = 0; round < 6000 && !HasFailure(); ++round) {
        std::istringstream pool(pools[random() % std::size(pools)]);
        std::vector<std::string> pieces;
        for (std::string piece; std::getline(pool, piece, '|');) pieces.push_back(piece);
        std::shuffle(pieces.begin(), pieces.end(), random);
        pieces.resize(4);  // few, so that keys are met
        const auto made = [&](std::size_t longest) {
            std::string text;
            for (auto length = random() % longest; length > 0; --length) text += pieces[random() % pieces.size()];
            return text;
        };
        const std::string text = (random() % 2 == 0 ? "zzzzzzzzzzzz " : "") + made(14), longer = text + pieces[0];
        const auto characters = SlowMentions::characters(text);
        std::set<std::size_t> boundaries{0};
        for (const auto& character : characters) boundaries.insert(*boundaries.rbegin() + character.size());
        Text::CharacterBoundaries found(text);
        for (int i = 0; i < 24; ++i)
            if (const auto at = random() % (text.size() + 1); (text[at] & 0xC0) != 0x80) {
                EXPECT_EQ(found.contain(at), boundaries.contains(at)) << text << at;
            }
        std::vector<MentionKey> keys;
        bool isAnyFound = false;
        for (auto count = random() % 4; count > 0; --count) {
            keys.push_back({made(5), random() % 4 == 0});
            isAnyFound = isAnyFound || SlowMentions::isFound(keys.back(), characters);
        }
        const std::string_view cut(longer.data(), text.size());
        EXPECT_EQ(MentionMatcher(keys).matches(cut), isAnyFound) << text << round;
        EXPECT_EQ(mentionsAny(keys, cut), isAnyFound) << text << round;
    }
}

}  // namespace
