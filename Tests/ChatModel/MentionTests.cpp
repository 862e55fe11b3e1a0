#include <random>
#include <regex>
#include <set>
#include <sstream>

#include <gtest/gtest.h>
#include <unicode/brkiter.h>
#include <unicode/normalizer2.h>

#include "ChatModel/MentionMatcher.h"
#include "ChatModel/MentionText.h"
#include "ChatModel/ServerJSON.h"

// clang-format off: the tables hold several short rows on a line.
using namespace ChatModel;
using namespace ChatModel::NotificationRules;

namespace {

TEST(MentionKey, AreWhatTheUserAsksFor) {
    const std::tuple<NotifyProps, const char*, std::string> rows[] = {  // an exclamation mark where case counts
        {{}, "Bob", "@bob"}, {{{"mention_keys", ""}, {"first_name", "True"}, {"channel", "True"}}, "Bob", "@bob"},
        {{{"mention_keys", ","}}, "", "||@bob"}, {{{"mention_keys", " a,,B"}}, "", " a||B|@bob"},
        {{{"mention_keys", "x,@bob"}}, "", "x|@bob"}, {{{"mention_keys", "@Bob"}}, "", "@Bob|@bob"},
        {{{"mention_keys", "a,\u0301b"}}, "", "a,\u0301b|@bob"}, {{{"first_name", "true"}}, "", "@bob"},
        {{{"mention_keys", "x"}, {"first_name", "true"}, {"channel", "true"}}, "Bo", "x|Bo!|@channel|@all|@here|@bob"},
        {{{"first_name", "true"}}, "@bob", "@bob!"}};
    for (const auto& [props, first, expected] : rows) {
        std::string keys;
        for (const auto& [key, caseSensitive] : mentionKeys({"", "bob", {}, "", first, "", props, {}}))
            keys += key + (caseSensitive ? "!|" : "|");
        EXPECT_EQ(keys, expected + '|');
    }
}

TEST(MentionText, IsOfMessageAndAttachmentsWithoutEmojiCodes) {
    Post post;
    post.message = "m";
    post.props["attachments"] = ServerJSON<JSONValue>::decode(
        R"([{"fields":[{"title":"k","value":"v"},{"title":"","value":1}],"fallback":"z","author_name":"z","footer":"f",)"
        R"("text":"x","title":"t","pretext":"p"},{"text":":*y: :b*ob:"}])");
    const auto plainText = [](std::string_view markup) { std::string text(markup); std::erase(text, '*'); return text; };
    EXPECT_EQ(mentionText(post, plainText), "m\np\nt\nx\nf\nk\nv\n1\n ");
    const std::pair<const char*, const char*> rows[] = {
        {"a :b: c", "a  c"}, {":Az_09-+:", ""}, {"x:b:", "x:b:"}, {":b:x", ":b:x"}, {"_:b:", "_:b:"}, {":a:b:", ":a:b:"},
        {"::a:", ":"}, {":a::b:", ""}, {":a+:b:", ":a+"}, {":a:-b:", "-b:"}, {"::", "::"}, {":a", ":a"}, {":a b:", ":a b:"},
        {"\u00E9:a:\u00E9", "\u00E9\u00E9"}, {"x\u0301:a:y\u0301", "x\u0301y\u0301"}, {":a:\r\n:b:", "\r\n"},
        {":\u0301a:", ":\u0301a:"}, {":a\u0301:", ":a\u0301:"}, {":a:\u0301", ":a:\u0301"}, {"\u0600:a:", "\u0600:a:"}};
    for (const auto& [text, rest] : rows) EXPECT_EQ(withoutEmojiCodes(text), rest);
}

TEST(MentionMatcher, FindsKeysAsAPersonReadsThem) {
    const std::tuple<const char*, std::vector<MentionKey>, bool> rows[] = {
        {"hi @bob!", {{"@bob"}}, true}, {"@BOB_", {{"@bob"}}, true}, {"(@bob)", {{"@bob"}}, true}, {"", {{""}}, false},
        {"x@bob", {{"@bob"}}, false}, {"@bobby", {{"@bob"}}, false}, {"bob__ ", {{"bob"}}, true}, {"a", {{""}}, false},
        {"bob_x", {{"bob"}}, false}, {"_bob", {{"bob"}}, false}, {"bob", {{"Bob", true}}, false}, {"9a", {{"a"}}, false},
        {"x+", {{"x+"}}, false}, {"x+y", {{"x+"}}, true}, {"x+_", {{"x+"}}, true}, {"x++y", {{"x+"}}, false},
        {"xa-a-a", {{"a-a"}}, true}, {"b-b-b-bb", {{"b-b"}}, true}, {"@@bob", {{"@bob"}}, true}, {"bobz", {{"bob"}}, false},
        {"stra\u00DFe", {{"STRASSE"}}, true}, {"STRASSE", {{"stra\u00DFe"}}, true}, {"stra\u00DFe", {{"stras"}}, false},
        {"STRASSE", {{"stra\u00DFe", true}}, false}, {"I", {{"i"}}, true}, {"\u0131x", {{"ix"}}, false},
        {"\u0130x", {{"ix"}}, false}, {"\u0130x", {{"i\u0307"}}, true}, {"\u039F\u03A3x", {{"\u03BF\u03C2"}}, true},
        {"\u03BF\u03C2x", {{"\u03BF\u03C3", true}}, false}, {"\u00E9a", {{"E\u0301A"}}, true}, {"a\u0301", {{"a"}}, false},
        {"e\u0301 a", {{"\u00E9 A", true}}, false}, {"e\u0301 a", {{"\u00E9 a", true}}, true}, {"\u00E9bob", {{"bob"}}, true},
        {"x\u0301bob", {{"bob"}}, true}, {"bobx\u0301", {{"bob"}}, true}, {"bob_\u0301x", {{"bob"}}, true},
        {"\U0001F1E9\U0001F1EA!x", {{"\U0001F1EA!"}}, false}, {"\U0001F1E9\U0001F1EA!x", {{"\U0001F1E9\U0001F1EA!"}}, true},
        {"\U0001F469\u200D\U0001F4BB!x", {{"\U0001F4BB!"}}, false}, {"\r\nb", {{"\nb"}}, false}, {"a\r\n", {{"a"}}, true},
        {"\u0600bob", {{"bob"}}, false}, {"\u0600bob", {{"ob"}}, true}, {"bo\u0600b", {{"bo"}}, true}, {"\xFF" "a", {{"\uFFFDa"}}, true},
        {"\u0430\u0438\u0431", {{"\u0418"}}, true}, {"\u0439", {{"\u0438"}}, false}, {"x\u0439x", {{"\u0418\u0306"}}, true},
        {"xBx\u4E2D", {{"b"}}, false}, {"x\u4E2Dx", {{"\u4E2D"}}, true}, {"\uD55C", {{"\u1112"}}, false},
        {"x\u1112\u1161\u11ABx", {{"\uD55C"}}, true}, {"x\u3042ax", {{"\u3042A", true}}, false}, {"x\u00E5x", {{"\u00E5"}}, false},
        {"xBob bobby", {{"bob"}, {"bobby"}}, true}, {"bobb", {{"bob"}, {"bobby"}}, false}, {"a b", {{"a b c"}, {"b"}}, true},
        {"a b cd", {{"a b c"}, {"b c"}, {"b", true}}, true}, {"xb-c", {{"xb-d"}, {"b-c"}}, false}, {"a b", {}, false},
        {"y b-c", {{"y b-d"}, {"b-c"}}, true}, {"Bob", {{"BOB", true}, {"bOB"}}, true}};
    for (const auto& [text, keys, matches] : rows)
        EXPECT_EQ(MentionMatcher(keys).matches(text), matches) << text << " for " << (keys.empty() ? "" : keys[0].key);
    std::string accents = "a";  // beyond what is compared
    for (int i = 0; i < 600; ++i) accents += "\u0301";
    EXPECT_FALSE(MentionMatcher({{accents + "b"}}).matches(accents + "b"));
    EXPECT_TRUE(MentionMatcher({{accents}, {"b"}}).matches(accents + "b"));
}

using Characters = std::vector<std::string>;

/// As ICU's own iterator tells them apart.
Characters charactersOf(const std::string& text) {
    UErrorCode error = U_ZERO_ERROR;
    static const std::unique_ptr<icu::BreakIterator> iterator(icu::BreakIterator::createCharacterInstance("", error));
    const auto whole = icu::UnicodeString::fromUTF8(text);
    iterator->setText(whole);
    Characters characters;
    for (std::int32_t start = 0, end; (end = iterator->next()) != icu::BreakIterator::DONE; start = end)
        whole.tempSubStringBetween(start, end).toUTF8String(characters.emplace_back());
    return characters;
}

icu::UnicodeString formOf(const std::string& text, bool caseSensitive) {
    UErrorCode error = U_ZERO_ERROR;
    static const auto* const nfd = icu::Normalizer2::getNFDInstance(error);
    auto form = nfd->normalize(icu::UnicodeString::fromUTF8(text), error);
    return caseSensitive ? form : nfd->normalize(form.foldCase(), error);
}

/// What a matcher finds that looks everywhere.
bool isFound(const MentionKey& key, bool anywhere, const Characters& text) {
    const auto isWord = [&](std::size_t i) {
        return i < text.size() && text[i].size() == 1 && (std::isalnum(text[i][0]) != 0 || text[i] == "_");
    };
    const auto isBoundary = [&](std::size_t i) { return isWord(i - 1) != isWord(i); };
    for (std::size_t start = 0; start < text.size(); ++start) {
        std::string part;
        for (std::size_t end = start + 1; end <= text.size(); ++end) {
            part += text[end - 1];
            auto behind = end;
            while (behind < text.size() && text[behind] == "_") ++behind;
            if (!anywhere && (isWord(start - 1) || (!isBoundary(end) && !isBoundary(behind)))) continue;
            if (formOf(part, key.caseSensitive) == formOf(key.key, key.caseSensitive)) return true;
        }
    }
    return false;
}

std::string withoutCodes(const Characters& text) {
    std::wstring marks;  // one for each character
    for (const auto& one : text) marks += one.size() == 1 ? one[0] : static_cast<wchar_t>(0xE000 + (&one - &text[0]));
    static const std::wregex code(LR"(\B:[\w+-]+:\B)");
    std::string rest;
    for (const auto mark : std::regex_replace(marks, code, L""))
        rest += mark < 0xE000 ? std::string(1, static_cast<char>(mark)) : text[mark - 0xE000];
    return rest;
}

TEST(MentionMatcher, FindsWhatASlowOneFinds) {
    const char* const pools[] = {  // of what affects each other; letters that need be no words follow an asterisk
        "a|b|_| |+|@|A", "a|A|_| |+|\r|\n|:|x", "s|S|\u00DF|\u017F|\u1E9E|k|\u212A|K| |_", ":|a|+|-|_| |\u00E9|\u0301|\u0600",
        "e|\u00E9|E\u0301|\u0301|\u0323|_| |x", "i|I|\u0131|\u0130|i\u0307| |.", "\u03C3|\u03C2|\u03A3|\u03B1|\u1FB3|\u0345|\u03B9| |_|a",
        "\u0600|a|b|@|_| |\u0301|+", "\u0915|\u094D|\u0937|\u093F|a| |\u093C|\u0958", "\U0001F1E9|\U0001F1EA|a|_| |\U0001F469|\u200D|\U0001F4BB|\U0001F3FD",
        "\uFB01|f|i|F|\uFB00|\u0149|\u02BC|n| |_|\u1E9A|a|\u02BE", "\u2177|\u2126|\u03A9|\u212B|\u00C5|\u00E5|a\u030A| |_",
        "\u0903|\U0001F468|\u2764|\uFE0F|\u0085|\u200B|\u20E3|\u00A9|\U000110BD|a| ", "*\u0438|\u0418|\u0439|\u0419|\u0306|a|_| ",
        "*\uAC00|\u1100|\u1161|\uAC01|\u11A8|a| ", "*\u4E2D|\u304B|\u304C|\u3042|\u3099|\u0E33|a| "};
    std::mt19937 random(1);
    for (int round = 0; round < 4000 && !HasFailure(); ++round) {
        std::istringstream pool(pools[random() % std::size(pools)]);
        const bool isWordless = pool.peek() == '*' && pool.get() == '*';
        std::vector<std::string> pieces;
        for (std::string piece; std::getline(pool, piece, '|');) pieces.push_back(piece);
        const auto made = [&](std::size_t longest) {
            std::string text;
            for (auto length = random() % longest; length > 0; --length) text += pieces[random() % pieces.size()];
            return text;
        };
        const std::string text = made(14);
        const auto characters = charactersOf(text);
        std::vector<MentionKey> keys;
        bool isAnyFound = false;
        for (auto count = random() % 4; count > 0; --count) {
            const auto& key = keys.emplace_back(MentionKey{made(5), random() % 4 == 0});
            const bool anywhere = isWordless && key.key.find_first_of("\xD0\xE0\xE1\xE3\xE4\xEA") != std::string::npos;
            const bool found = isFound(key, anywhere, characters);
            EXPECT_EQ(MentionMatcher({key}).matches(text), found) << text << '|' << key.key;
            isAnyFound = isAnyFound || found;
        }
        EXPECT_EQ(MentionMatcher(keys).matches(text), isAnyFound) << text;
        EXPECT_EQ(withoutEmojiCodes(text), withoutCodes(characters)) << text;
        std::set<std::size_t> starts{0};
        for (const auto& character : characters) starts.insert(*starts.rbegin() + character.size());
        Text::CharacterBoundaries boundaries(text);
        for (int i = 0; i < 4; ++i) {
            const auto at = random() % (text.size() + 1);
            EXPECT_TRUE((text[at] & 0xC0) == 0x80 || boundaries.contain(at) == starts.contains(at)) << text << at;
        }
    }
}

}  // namespace
