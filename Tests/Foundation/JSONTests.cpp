#include <cmath>

#include <gmock/gmock.h>

#include "Foundation/JSONCoding.h"
#include "Foundation/PropertyList.h"

// clang-format off: the tables hold several short rows on a line.
using namespace Foundation;
using namespace std::string_literals;
using enum DecodingError::Reason;

/// Not without a name: clang wants the types that a table counts the members of to have linkage.
namespace JSONTests {

struct File {
    std::int64_t size = 0;
    bool operator==(const File&) const = default;
};

struct Post {
    std::string id;
    std::int64_t count = 7;
    std::optional<bool> isPinned{};
    std::optional<File> file{};
    std::optional<URL> link{};
    bool operator==(const Post&) const = default;
};

}  // namespace JSONTests

using JSONTests::File, JSONTests::Post;
template <>
constexpr auto Foundation::fields<File> = std::tuple{required("size", &File::size)};
template <>
constexpr auto Foundation::fields<Post> =
    std::tuple{required("id", &Post::id), defaulted("count", &Post::count), optional("file", &Post::file),
               optional("is_pinned", &Post::isPinned), optional("link", &Post::link)};

namespace {

/// The error that the read ends in; nothing where it succeeds.
std::optional<DecodingError> errorOf(std::string_view text, FunctionRef<void(JSONReader&)> read) try {
    const std::vector<char> bytes(text.begin(), text.end());  // nothing stands behind them
    parseJSON({bytes.data(), bytes.size()}, read);
    return std::nullopt;
} catch (const DecodingError& error) {
    return error;
}

TEST(JSONReader, RefusesWhatIsMalformedHoweverItIsPassedOver) {
    std::vector<std::string> texts = {
        "", " ", "NaN", "-", "+1", "01", "-01", "1.", ".5", "1e", "1e+", "0x1", "--1", "truex", "True", "nul", "nulll",
        "falsey", "'a'", "1 2", "{} {}", "1],[2", "]", "1]", "}", "[1 2]", "[1,]", "[,1]", "[1,,2]", "[1:2]",
        R"(["a":1])", "[1", "[1]]", "[1}", R"({"a" 1})", R"({"a":1,})", "{,}", R"({"a"})", "{1:2}", R"({"a":1 "b":2})",
        R"({"a":1])", R"({"a":})", R"(")", R"("a)", R"("\x")", R"("\u12g4")", R"("\ud800")", R"("\udc00")",
        R"("\ud800\ud800")", R"("\ud800x")", R"({"\x":1})", R"({"\udc00":1})", "\"a\tb\"", "\"a\0b\""s, "1\0"s,
        "[1]\0"s, "\xEF\xBB\xBF{}", "\"\xFF\"", "\"\xED\xA0\x80\"", "{\"\xFF\":1}", "null//", "\v1",
        "\"\xC3", "\"\xE2\x80", "\"\xF0\x9F\x98"};
    for (const auto* innermost : {"[]", "{}"})
        texts.push_back(std::string(512, '[') + innermost + std::string(512, ']'));
    texts.emplace_back(100'000, '[');
    void (*const passes[])(JSONReader&) = {[](JSONReader&) {}, [](JSONReader& value) { value.raw(); },
                                           [](JSONReader& value) { PropertyList::read(value); }};
    for (const auto& text : texts)
        for (const auto pass : passes)
            for (const auto& whole : {text, "{\"a\":" + text + ",\"b\":1}", "[{\"a\":" + text + "}]"}) {
                const auto error = errorOf(whole, pass);
                EXPECT_TRUE(error && error->reason() == malformed) << whole.substr(0, 40);
            }
    const auto error = errorOf("[NaN]", [](JSONReader& value) { value.failExpecting("another kind"); });
    EXPECT_TRUE(error && error->reason() == malformed);
}

TEST(JSONReader, ReadsValuesExactly) {
    using Array = PropertyList::Array;
    const std::pair<std::string, PropertyList> rows[] = {
        {"\t\r\n null \n", {}}, {"true", true}, {" [ ] ", Array{}}, {R"({"":{ }})", Dictionary{{"", Dictionary{}}}},
        {"[1,[true,\"]\"],{}]", Array{1, Array{true, "]"}, Dictionary{}}}, {"-0", 0}, {"3.0", 3.0},
        {"-1.5E+1", -15.0}, {"9223372036854775807", INT64_MAX}, {"9223372036854775808", 0x1p63},
        {"-9223372036854775808", INT64_MIN}, {"12345678901234567890123", 12345678901234567890123.0}, {"1e-310", 1e-310},
        {"9007199254740993", std::int64_t{9007199254740993}}, {"1e-400", 0.0}, {"5e-324", 5e-324},
        {"9007199254740993.00000000000000000001", 9007199254740994.0},
        {"1.00000000000000011102230246251565404236316680908203126", 1.0000000000000002},
        {R"("\"\\\/\b\f\n\r\t\u00E9\ud83d\ude00")", "\"\\/\b\f\n\r\t\u00E9\U0001F600"},
        {R"("\u0000")", "\0"s}, {R"({"a":{"b":1},"\u0061":2})", Dictionary{{"a", 2}}},
        {R"({"\"":1,"a":[1],"a":null})", Dictionary{{"\"", 1}, {"a", {}}}}};
    for (const auto& [text, expected] : rows)
        parseJSON("[" + text + "," + text + "]", [&](JSONReader& value) {
            value.array([&](JSONReader& element) {
                const std::string_view raw = element.raw();  // it stands while another text is read
                PropertyList read = "unread";
                parseJSON(raw, [&](JSONReader& reader) { read = PropertyList::read(reader); });
                EXPECT_TRUE(read == expected && text.find(raw) != std::string::npos) << text;
                EXPECT_TRUE(raw.find_last_not_of(" \t\r\n") == raw.size() - 1) << text;
            });
        });
    EXPECT_FALSE(errorOf(std::string(511, '[') + "{}" + std::string(511, ']'), [](JSONReader&) {}));
    EXPECT_FALSE(errorOf("[1e400]", [](JSONReader&) {})) << "a number that nobody reads may be too large";
    EXPECT_TRUE(errorOf("[1e400]", [](JSONReader& value) { PropertyList::read(value); }));
}

TEST(JSONWriter, WritesTheShortestNumbersAndEscapesWhatItMust) {
    const std::pair<double, const char*> rows[] = {
        {-0.0, "-0"}, {3.0, "3"}, {0.1, "0.1"}, {100000, "100000"}, {-2.5e-5, "-0.000025"}, {9.5e-6, "9.5e-06"},
        {9999999999999998, "9999999999999998"}, {1e16, "1e+16"}, {1.7976931348623157e308, "1.7976931348623157e+308"}};
    for (const auto& [number, text] : rows) EXPECT_EQ(JSONWriter().value(number).text(), text);
    EXPECT_THROW(JSONWriter().value(double{NAN}), std::invalid_argument);
    EXPECT_THROW(JSONWriter().value(-HUGE_VAL), std::invalid_argument);
    JSONWriter writer;
    writer.beginObject().key("k\"\n").value("/\\\b\f\r\t\0\x1F\x7F"s).key("e").beginObject().endObject();
    writer.key("l").beginArray().null().value(true).beginArray().endArray().raw("{}").value("").endArray();
    EXPECT_EQ(writer.endObject().text(),
              "{\"k\\\"\\n\":\"/\\\\\\b\\f\\r\\t\\u0000\\u001f\x7F\",\"e\":{},\"l\":[null,true,[],{},\"\"]}");
    EXPECT_THROW(JSONWriter().value("\xC3"), std::invalid_argument);
    EXPECT_THROW(JSONWriter().beginObject().key("\xED\xA0\x80"), std::invalid_argument);
}

TEST(JSONCoding, KeepsToTheTable) {
    const auto whole = R"({"id":"","count":1,"file":{"size":2},"is_pinned":false,"link":"h:%20"})";
    const std::tuple<std::string, Post, std::string> records[] = {
        {whole, {"", 1, false, File{2}, URL::parse("h:%20")}, whole},
        {R"({"link":null,"file":null,"count":null,"id":"a"})", {"a"}, R"({"id":"a","count":7})"},
        {R"({"id":5,"count":9007199254740993.0,"i\u0064":"b","file":{},"file":{"size":100e-2}})",
         {"b", 9007199254740993, {}, File{1}}, R"({"id":"b","count":9007199254740993,"file":{"size":1}})"},
        {R"({"count":-9.223372036854775808e18,"id":""})", {"", INT64_MIN}, R"({"id":"","count":-9223372036854775808})"},
        {R"({"id":"a","count":1,"is_pinned":true,"x":[{}],"count":null,"is_pinned":null,"\u0069d":"b"})", {"b"},
         R"({"id":"b","count":7})"}};
    for (const auto& [text, post, written] : records) {
        EXPECT_EQ(decodeJSON<Post>(text), post) << text;
        EXPECT_EQ(encodeJSON(post), written);
    }
}

TEST(JSONCoding, NamesThePlaceOfAnErrorAndNotTheText) {
    const std::tuple<const char*, DecodingError::Reason, std::string> rows[] = {
        {"{}", keyNotFound, "[1].id"}, {R"({"id":"a","is_pinned":1})", typeMismatch, "[1].is_pinned"},
        {"\"canary\"", typeMismatch, "[1]"}, {R"({"id":"a","count":3.5})", typeMismatch, "[1].count"},
        {R"({"id":"a","id":null})", typeMismatch, "[1].id"}, {R"({"id":"a","file":{}})", keyNotFound, "[1].file.size"},
        {R"({"id":"a","count":9223372036854775808})", typeMismatch, "[1].count"},
        {R"({"id":"a","count":9223372036854775808.0})", typeMismatch, "[1].count"},
        {R"({"id":"a","count":0.99999999999999999999})", typeMismatch, "[1].count"},
        {R"({"id":"a","count":10e9223372036854775807})", typeMismatch, "[1].count"},
        {R"({"id":"a","count":0.1e-9223372036854775808})", typeMismatch, "[1].count"},
        {R"({"link":"can ary"})", typeMismatch, "[1].link"}, {R"({"x":[{"y":canary}]})", malformed, "[1].x[0].y"}};
    for (const auto& [post, reason, path] : rows) {
        const auto read = [](JSONReader& value) { Post ignored; if (!value.null()) decode(value, ignored); };
        const auto error = errorOf("[null,"s + post + "]", [&](JSONReader& posts) { posts.array(read); });
        ASSERT_TRUE(error && error->reason() == reason) << post;
        EXPECT_EQ(error->below("posts").path(), "posts" + path);
        EXPECT_THAT(error->what(), Not(testing::HasSubstr("canary")));
    }
}

}  // namespace
