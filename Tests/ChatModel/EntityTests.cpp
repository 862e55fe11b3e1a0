#include <regex>

#include <gmock/gmock.h>

#include "ChatModel/Channel.h"
#include "ChatModel/ChannelMember.h"
#include "ChatModel/ClientConfig.h"
#include "ChatModel/Identifier.h"
#include "ChatModel/InteractiveDialog.h"
#include "ChatModel/Post.h"
#include "ChatModel/ReadReceipt.h"
#include "ChatModel/ServerJSON.h"
#include "ChatModel/SidebarCategory.h"
#include "ChatModel/Team.h"
#include "ChatModel/User.h"
#include "ChatModel/UserThread.h"
#include "Foundation/DecodingError.h"

// clang-format off: the tables hold several short rows on a line.
using namespace ChatModel;
using namespace std::string_literals;
using Value = ServerJSON<JSONValue>;

namespace {

/// Why and where decoding fails; empty where it succeeds.
template <class Entity>
std::string failure(const std::string& json) try {
    ServerJSON<Entity>::decode(json);
    return {};
} catch (const Foundation::DecodingError& error) {
    return std::array{"malformed ", "missing ", "wrong "}[static_cast<std::size_t>(error.reason())] + error.path();
}

/// The same, and where decoding succeeds, the entity written out.
template <class Entity>
std::string outcome(const std::string& json) {
    const auto failed = failure<Entity>(json);
    return failed.empty() ? ServerJSON<Entity>::encode(ServerJSON<Entity>::decode(json)) : failed;
}

/// The whole JSON with another value in a place, or without any there.
using Replace = std::function<std::string(const std::optional<JSONValue>&)>;
using Visit = std::function<void(const std::string& path, const JSONValue& value, const Replace&)>;

/// Visits the value and all that stands within it.
void eachPlace(const JSONValue& value, const std::string& path, const Replace& replace, const Visit& visit) {
    if (!path.empty()) visit(path, value, replace);
    if (const auto* object = std::get_if<JSONValue::Object>(&value.matched()))
        for (const auto& member : *object)
            eachPlace(member.second, path + (path.empty() ? "" : ".") + member.first, [&](const auto& other) {
                auto copy = *object;
                copy.erase(member.first);
                if (other) copy.emplace(member.first, *other);
                return replace(copy);
            }, visit);
    if (const auto* array = std::get_if<JSONValue::Array>(&value.matched()))
        for (std::size_t i = 0; i < array->size(); ++i)
            eachPlace((*array)[i], path + '[' + std::to_string(i) + ']', [&, i](const auto& other) {
                auto copy = *array;
                copy[i] = other.value();
                return replace(copy);
            }, visit);
}

/// Tries each value in the JSON as missing, as null and as of every other kind. Keys that are not lenient are required,
/// but for a map's entries: their keys end in "]" here. An attachment takes all other kinds for missing.
template <class Entity>
void expectTable(const std::string& json, const Entity& expected, const char* lenient = "") {
    using Server = ServerJSON<Entity>;
    constexpr bool isAttachment = std::is_same_v<Entity, MessageAttachment>;
    const std::hash<Entity> hash;
    EXPECT_TRUE(Server::decodeList('[' + json + ',' + json + ']') == std::vector(2, expected)) << json;
    EXPECT_TRUE(hash(Server::decode(json)) == hash(expected) && hash(Entity()) != hash(expected)) << json;
    if constexpr (!std::is_same_v<Entity, ClientConfig>) {
        EXPECT_EQ(Server::encode(expected), json);
    }
    const auto write = [](const auto& whole) { return Value::encode(*whole); };
    eachPlace(Value::decode(json), "", write, [&](const auto& path, const auto& value, const auto& replace) {
        if (path.starts_with("props.") || (isAttachment && path.find('[') != std::string::npos)) return;
        const bool isElement = path.back() == ']';
        const bool isLenient = std::regex_match(path, std::regex(lenient));
        EXPECT_EQ(isElement ? "" : failure<Entity>(replace({})), isLenient || isElement ? "" : "missing " + path);
        for (const JSONValue& other : {JSONValue(), JSONValue(true), JSONValue(3.5), JSONValue(0x1p63), JSONValue("x"),
                                       JSONValue(JSONValue::Array()), JSONValue(JSONValue::Object())}) {
            if (other.matched().index() == value.matched().index() && !std::get_if<double>(&other.matched())) continue;
            const bool isGood = isLenient && (isAttachment || other == JSONValue());
            EXPECT_EQ(failure<Entity>(replace(other)), isGood ? "" : "wrong " + path) << replace(other);
            EXPECT_TRUE(!isGood || Server::decode(replace(other)) == Server::decode(replace({}))) << replace(other);
        }
    });
}

TEST(Entities, KeepToTheServersKeys) {
    expectTable<Team>(R"({"id":"1","name":"2","display_name":"3","delete_at":4})", {"1", "2", "3", 4});
    expectTable<Channel>(
        R"({"id":"1","team_id":"2","type":"P","name":"3","display_name":"4","purpose":"5","header":"6","create_at":7,)"
        R"("delete_at":8,"last_post_at":9,"last_root_post_at":10,"total_msg_count":11,"total_msg_count_root":12})",
        {"1", "2", Channel::Kind::private_, "3", "4", "5", "6", 7, 8, 9, 10, 11, 12});
    expectTable<ChannelMember>(
        R"({"channel_id":"1","last_viewed_at":2,"msg_count":3,"msg_count_root":4,"mention_count":5,)"
        R"("mention_count_root":6,"notify_props":{"7]":"8"}})", {"1", 2, 3, 4, 5, 6, {{"7]", "8"}}});
    expectTable<User>(
        R"({"id":"1","username":"2","email":"3","nickname":"4","first_name":"5","last_name":"6","notify_props":)"
        R"({"7]":"8"},"custom_status":{"emoji":"9","text":"10","duration":"11","expires_at":"2001-09-09T01:46:40Z"}})",
        {"1", "2", "3", "4", "5", "6", {{"7]", "8"}}, CustomStatus{"9", "10", "11", Foundation::Date{1e9}}},
        R"(email|notify_props|custom_status(\.\w+)?)");
    expectTable<UserThread>(
        R"({"id":"1","post":{"channel_id":"2"},"reply_count":3,"last_reply_at":4,"last_viewed_at":5,)"
        R"("unread_replies":6,"unread_mentions":7,"is_following":false,"participants":[{"id":"8"},{"id":"9"}]})",
        {"1", "2", 3, 4, 5, 6, 7, false, {"8", "9"}}, "is_following|participants");
    expectTable<ThreadTotals>(R"({"total_unread_threads":1,"total_unread_mentions":2})", {1, 2});
    expectTable<ReadReceipt::Details>(
        R"({"channel_type":"1","read":2,"total":3,"readers":[{"id":"4","username":"5","name":"6","read_at":7}],)"
        R"("unread":[{"id":"8","username":"9","name":"10","read_at":11}]})",
        {{"1", 2, 3}, {{"4", "5", "6", 7}}, {{"8", "9", "10", 11}}});
    expectTable<ReadReceipt::ReadResult>(R"({"post_ids":["1"],"unavailable_post_ids":["2"]})", {{"1"}, {"2"}});
    using Element = InteractiveDialog::Element;
    expectTable<InteractiveDialog>(
        R"({"url":"1","dialog":{"title":"2","elements":[{"name":"3","display_name":"4","type":"text","subtype":"5",)"
        R"("default":"6","placeholder":"7","help_text":"8","optional":true,"min_length":9,"max_length":10,"options":)"
        R"([{"text":"11","value":"12"}],"data_source_url":"13"}],"state":"14","callback_id":"15",)"
        R"("introduction_text":"16","submit_label":"17","notify_on_cancel":true}})",
        {"1", "15", "2", "16", {{"3", "4", Element::TextField{"5"}, "6", "7", "8", true, 9, 10, {{"11", "12"}}, "13"}},
         "17", true, "14"}, R"(dialog\.(\w+|elements\[0\]\.(?!name|display_name)\w+))");
    expectTable<DialogSubmitResult>(R"({"error":"1","errors":{"2]":"3"}})", {"1", {{"2]", "3"}}}, "errors?");
    const std::string json = R"({"id":"1","team_id":"2","type":"custom","display_name":"3","sorting":"alpha",)"
                             R"("muted":true,"collapsed":true,"channel_ids":["4"]})";
    const SidebarCategory category{"1", "2", SidebarCategory::Kind::custom, "3", SidebarCategory::Sorting::alphabetical,
                                   true, false, {}}, changed = category.withCollapsed(true).withChannelIDs({"4"});
    expectTable<SidebarCategory>(json, changed);
    expectTable<OrderedSidebarCategories>(R"({"categories":[)" + json + R"(],"order":["5"]})", {{changed}, {"5"}});
    expectTable<Preference>(R"({"category":"1","name":"2","value":"3"})", {"1", "2", "3"});
    using M = PostMetadata;
    expectTable<Post>(
        R"({"id":"1","channel_id":"2","root_id":"3","user_id":"4","create_at":5,"update_at":6,"edit_at":7,)"
        R"("delete_at":8,"is_pinned":true,"message":"9","type":"10","props":{"p":[1]},"pending_post_id":"11",)"
        R"("reply_count":12,"last_reply_at":13,"is_following":false,"participant_ids":["14","15"],"metadata":{)"
        R"("files":[{"id":"16","name":"17","extension":"18","size":19,"mime_type":"20","width":21,"height":22,)"
        R"("has_preview_image":true}],"images":{"23]":{"width":24,"height":25}},"embeds":[{"type":"opengraph",)"
        R"("url":"26","data":{"title":"27","description":"28","site_name":"29","images":[{"url":"30"}]}},)"
        R"({"type":"image","url":"31"},{"type":"link","url":"32"},{"type":"33"}],"reactions":[{"user_id":"34",)"
        R"("post_id":"35","emoji_name":"36","create_at":37}],"emojis":[{"id":"38","name":"39","creator_id":"40",)"
        R"("update_at":41}]}})",
        {"1", "2", "3", "4", 5, 6, 7, 8, true, "9", "10", {{"p", JSONValue::Array{1}}}, "11", 12, 13, false,
         {"14", "15"}, {{{"16", "17", "18", 19, "20", 21, 22, true}}, {{"23]", {24, 25}}},
                        {M::OpenGraphEmbed{"26", {"27", "28", "29", "30"}}, M::ImageEmbed{"31"}, M::LinkEmbed{"32"},
                         M::OtherEmbed{"33"}}, {{"34", "35", "36", 37}}, {{"38", "39", "40", 41}}}},
        R"(props|last_reply_at|is_following|participant_ids|metadata(\.\w+|\.files.*(width|height|preview_image)|)"
        R"(\.embeds\[\d\]\.(url|data\.\w+))?)");
    expectTable<MessageAttachment>(
        R"({"fallback":"1","color":"2","pretext":"3","author_name":"4","author_link":"5","title":"6","title_link":"7",)"
        R"("text":"8","fields":[{"title":"9","value":"10","short":true}],"image_url":"11","thumb_url":"12","footer":)"
        R"("13","actions":[{"id":"14","type":"select","name":"15","style":"16","disabled":true,"data_source":"17",)"
        R"("options":[{"text":"18","value":"19"}],"default_option":"20","cookie":"21"}]})",
        {"1", "2", "3", "4", "5", "6", "7", "8", {{"9", "10", true}}, "11", "12", "13",
         {{"14", MessageAttachment::Action::Kind(1), "15", "16", true, "17", {{"18", "19"}}, "20", "21"}}}, R"(\w+)");
    const auto url = [](const char* text) { return Foundation::URL::parse(text); };
    ClientConfig config{url("h:1"), "2", "3", true, false, true, url("h:4"), url("h:5"), "6", "7", false};
    expectTable<ClientConfig>(
        R"({"SiteURL":"h:1","SiteName":"2","OpenIdButtonText":"3","EnableSignUpWithOpenId":"true","HelpLink":"h:4",)"
        R"("EnableSignInWithEmail":"True","EnableSignInWithUsername":"true","ReportAProblemLink":"h:5",)"
        R"("DiagnosticId":"6","AsymmetricSigningPublicKey":"7","SendPushNotifications":"TRUE"})", config, R"(\w+)");
    EXPECT_TRUE(config.isPasswordSignInEnabled() && !ClientConfig().isPasswordSignInEnabled());
    config = ServerJSON<ClientConfig>::decode(
        R"({"EnableSignUpWithOpenId":"true","EnableSignInWithEmail":"true","EnableSignInWithUsername":"1","HelpLink":)"
        R"("a b","SiteURL":"","OpenIdButtonText":"","SendPushNotifications":""})");
    EXPECT_TRUE(config == (ClientConfig{{}, "", {}, true, true, false, {}, {}, {}, {}, {}}));
    EXPECT_TRUE(config.isPasswordSignInEnabled());
}

TEST(Entities, HaveDefaultsAndIrregularShapes) {
    struct Group {
        std::string (*read)(const std::string&);
        std::string before;
        std::vector<std::pair<std::string, const char*>> rows;
        std::string after = {};
    };
    const char* const noStatus = R"("last_name":"","notify_props":{}})";
    const char* const noActions = R"("fields":[],"image_url":"","thumb_url":"","footer":"","actions":[]})";
    const Group groups[] = {
        {outcome<Post>, R"({"id":"","channel_id":"","root_id":"","user_id":"","create_at":0,"update_at":0,"edit_at":0,)"
         R"("delete_at":0,"is_pinned":false,"message":"","type":"","pending_post_id":"","reply_count":0)", {
            {"", R"("props":{},"pending_post_id":"","reply_count":0,"last_reply_at":0,"participant_ids":[],"metadata":)"
                 R"({"files":[],"images":{},"embeds":[],"reactions":[],"emojis":[]}})"},
            {R"(,"participants":[{"x":1,"id":"b"},{"id":"a"}])", R"("participant_ids":["b","a"])"},
            {R"(,"participants":null)", R"("participant_ids":[])"},
            {R"(,"participants":1,"participant_ids":["a"])", R"("participant_ids":["a"])"},
            {R"(,"participant_ids":[],"participants":[{"id":"b"}])", R"("participant_ids":[])"},
            {R"(,"participants":[{"id":"b"}],"participant_ids":null)", R"("participant_ids":["b"])"},
            {R"(,"participants":[{"id":"b"},{}])", "missing participants[1].id"},
            {R"(,"props":{"a":[{"b":[1e400]}]})", "wrong props.a"},
            {R"(,"props":{"a":{"b":-1e400}})", "wrong props.a.b"}}, "}"},
        {outcome<PostMetadata>, R"({"files":[{"id":"","name":"","extension":"","size":3.0,"mime_type":""}],)", {
            {R"("embeds":[{"data":{},"url":"u","type":"opengraph"},{"type":"x","data":1,"url":"u"}]})",
             R"("size":3,"mime_type":"","width":0,"height":0,"has_preview_image":false}],"images":{},"embeds":[{)"
             R"("type":"opengraph","url":"u","data":{"title":"","description":"","site_name":""}},{"type":"x"}])"}}},
        {outcome<PostMetadata>, R"({"embeds":[{"data":{"images":[)", {
            {R"({"secure_url":"","url":"a"},{"url":"b"})", R"("images":[{"url":"a"}])"}, {"", R"("site_name":""}})"},
            {R"({"url":"a","secure_url":"s"})", R"("images":[{"url":"s"}])"},
            {R"({"url":"a","secure_url":null},{})", "missing embeds[0].data.images[1].url"}},
         R"(]},"type":"opengraph"}]})"},
        {outcome<User>, R"({"id":"","username":"","nickname":"","first_name":"","last_name":"",)", {
            {R"("props":{"customStatus":"{\"text\":\"p\"}","x":[1]})", R"("custom_status":{"emoji":"","text":"p")"},
            {R"("props":{"customStatus":{"text":"p"}})", noStatus}, {R"("props":{"customStatus":"{}}"})", noStatus},
            {R"("props":{"customStatus":"{\"text\":1}"})", noStatus}, {R"("props":1)", "wrong props"},
            {R"("props":{"customStatus":"{}"},"custom_status":null)", noStatus},
            {R"("props":1,"custom_status":{"text":"c"})", R"("text":"c","duration":""}})"}}, "}"},
        {outcome<UserThread>, R"({"id":"","post":{"x":1,"channel_id":"c"},"reply_count":0,"last_reply_at":0,)",
         {{R"("last_viewed_at":0,"unread_replies":0,"unread_mentions":0})", R"(ing":true,"participants":[]})"}}},
        {outcome<ThreadTotals>, R"({"total_unread_threads":-9223372036854775808,"total_unread_mentions":)",
         {{"9223372036854775807}", R"(:-9223372036854775808,"total_unread_mentions":9223372036854775807})"}}},
        {outcome<Channel>, "", {{R"({"type":"o"})", "wrong type"}}},
        {outcome<InteractiveDialog::Element>, R"({"name":"","display_name":"",)", {
            {R"("subtype":"s","data_source":5})", R"("type":"text","subtype":"s","default":"")"},
            {R"("data_source":"d","subtype":5,"type":"select"})", R"("type":"select","data_source":"d","default":"")"},
            {R"("type":"textarea","subtype":5,"data_source":5})", R"("type":"textarea","default":"","placeholder":"")"},
            {R"("type":"radio"})", R"("type":"radio","default")"}, {R"("type":"bool"})", R"("type":"bool","default")"},
            {R"("type":"Text","subtype":5})", R"("Text","default")"}, {R"("type":"date"})", R"("date","default")"},
            {R"("subtype":"s","type":null,"subtype":null})", R"("type":"text","subtype":"","default")"},
            {R"("type":"select","data_source":5})", "wrong data_source"}}},
        {outcome<CustomStatus>, R"({"expires_at":")", {
            {"2026-11-29", "wrong expires_at"}, {"1970-01-01T01:00:00+01:00", R"("duration":""})"},
            {"1970-01-01T00:00:00.0019Z", R"("1970-01-01T00:00:00.001Z")"},
            {"0001-01-01T00:00:00Z", R"(":""})"}}, R"("})"},
        {outcome<MessageAttachment>, R"({"fields":[)", {
            {R"({},1)", R"("fields":[])"}, {R"({"value":3})", R"({"title":"","value":"3","short":false})"},
            {R"({"value":3.0,"short":1})", R"("3","short":false)"}, {R"({"title":1,"value":null})", R"("","value":"")"},
            {R"({"value":2.5,"short":"true"})", R"("2.5","short":true)"}, {R"({"value":false})", R"("false")"},
            {R"({"value":-9223372036854775808})", R"("-9223372036854775808")"}, {R"({"short":"TRUE"})", R"("short":f)"},
            {R"({"value":9223372036854775808})", R"("9.223372036854776e+18")"}, {R"({"value":1e400})", R"("value":"")"},
            {R"({"value":[1.0,{"a":null}]})", R"("[1,{\"a\":null}]")"}, {R"({"value":[1e400]})", R"("value":"")"},
            {R"({"value":-0.0})", R"("0")"}}, "]}"},
        {outcome<MessageAttachment>, R"({"actions":[{"type":"button",)", {
            {R"("id":"a","style":null,"options":null},{"type":"new","name":1},{"id":"b"},{"type":1})",
             R"([{"id":"a","type":"button","name":"","style":"","disabled":false,"data_source":"","options":[],)"
             R"("default_option":"","cookie":""}])"}, {R"("options":[{"text":""}]})", noActions},
            {R"("id":"a"},{"type":"button","name":1})", noActions}, {R"("id":"a"},1)", noActions},
            {R"("disabled":"true"})", noActions}, {R"("options":[null]})", noActions}}, "]}"}};
    for (const auto& [read, before, rows, after] : groups)
        for (const auto& [json, expected] : rows)
            EXPECT_THAT(read(before + json + after), testing::HasSubstr(expected)) << json;
}

TEST(JSONValue, KeepsKindsApart) {
    const auto json = R"({"a":[1,"a",null,{"k":false},true,[]],"n":1.2345678901234568e+24,"z":-0})";
    const auto other = R"({"z":0.0,"n":1234567890123456789012345,"a":1,"a":[1.0,"a",null,{"k":false},true,[]]})";
    EXPECT_EQ(outcome<JSONValue>(json), json);
    EXPECT_TRUE(Value::decode(json) == Value::decode(other));
    EXPECT_EQ(std::hash<JSONValue>()(Value::decode(other)), std::hash<JSONValue>()(Value::decode(json)));
    std::set<std::size_t> hashes;
    for (const auto* text : {"null", "false", "true", "0", "1", "\"\"", "\"1\"", "\"true\"", "[]", "[null]", "[1,2]",
                             "[2,1]", "{}", R"({"a":1})", R"({"b":1})", R"({"a":2})"}) {
        const JSONValue value = Value::decode(text);
        EXPECT_TRUE(hashes.insert(std::hash<JSONValue>()(value)).second) << text;
        EXPECT_EQ(value.boolValue().has_value(), text == "true"s || text == "false"s) << text;
        EXPECT_EQ(value.stringValue() != nullptr, text[0] == '"') << text;
    }
}

TEST(Channel, IsCalledAfterThePeer) {
    using Kind = Channel::Kind;
    const std::tuple<Kind, const char*, std::optional<std::string>, const char*> rows[] = {
        {Kind::direct, "u1__u2", "u2", "Two"}, {Kind::direct, "u2__u1", "u2", "Two"}, {Kind::direct, "u2", {}, "c"},
        {Kind::direct, "u1__u1", "u1", "c"}, {Kind::direct, "__u2____u1__", "u2", "Two"},
        {Kind::direct, "u1__u2__u3", {}, "c"}, {Kind::group, "u1__u2", {}, "c"}};
    for (const auto& [kind, name, peer, title] : rows) {
        const Channel channel{"", "", kind, name, "c", "", ""};
        EXPECT_TRUE(channel.directPeerID("u1") == peer && channel.title("u1", {{"u2", "Two"}}) == title) << name;
    }
    const auto isMuted = [](auto all) { return ChannelMember{"", 0, 0, 0, 0, 0, {{"mark_unread", all}}}.isMuted(); };
    EXPECT_TRUE(isMuted("mention") && !isMuted("all") && !ChannelMember().isMuted());
}

TEST(Identifier, IsTheTextWhateverItsLength) {
    // Around where a text no longer stands inside, where it is copied in two pieces, and with bytes that end others.
    std::vector<std::string> texts = {"\0"s, "a\0"s, "\xFF", std::string(31, '\xFF'), std::string(31, '\0')};
    for (const std::size_t size : {0, 1, 15, 16, 17, 30, 31, 32, 33, 300})
        for (const char last : {'a', 'b'}) texts.push_back(std::string(size, 'x') + last);
    texts.push_back("");
    EXPECT_EQ(ServerJSON<Team>::decode(R"({"id":"\u0061\n","name":"","display_name":"","delete_at":0})").id, "a\n");
    const auto hash = std::hash<Identifier>();
    for (const std::string& left : texts)
        for (const std::string& right : texts) {
            SCOPED_TRACE(left + " and " + right);
            const Identifier one = left, other = right;
            EXPECT_EQ(std::string_view(one), left);
            EXPECT_EQ(one.empty(), left.empty());
            EXPECT_EQ(one == other, left == right);
            EXPECT_EQ(one == right, left == right);
            EXPECT_EQ(one <=> other, left <=> right);
            EXPECT_EQ(one <=> right, left <=> right);
            EXPECT_TRUE(hash(one) == hash(other) || left != right);
            Identifier copy = one;
            copy = std::as_const(copy);
            EXPECT_EQ(copy, left);
            copy = other;
            EXPECT_EQ(copy, right);
            const Identifier moved = std::move(copy);
            EXPECT_EQ(moved, right);
            copy = one;
            EXPECT_EQ(copy, left);
            EXPECT_EQ(other, right);
        }
}

}  // namespace
