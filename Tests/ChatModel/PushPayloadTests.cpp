#include "ChatModel/PushPayload.h"

#include "Support/Support.h"

using ChatModel::PushPayload;
using Kind = PushPayload::Kind;

namespace {

/// The payload of an object's text, "type" being there already.
PushPayload payload(const std::string& members) {
    return PushPayload::make(Support::dictionary(R"({"type":"message")" + members + "}")).value();
}

TEST(PushPayload, KindIsMatchedExactly) {
    for (int kind = 0; const char* name : {"message", "clear", "update_badge", "session", "test"}) {
        EXPECT_EQ(PushPayload::make({{"type", name}}).value().kind, Kind(kind)) << name;
        EXPECT_EQ(Foundation::wireName(Kind(kind)), name);
        ++kind;
    }
    for (const char* type : {R"("Message")", R"("message ")", R"("update-badge")", "null", "1"})
        EXPECT_FALSE(PushPayload::make(Support::dictionary(std::string(R"({"type":)") + type + '}'))) << type;
    EXPECT_FALSE(PushPayload::make({}));
}

constexpr const char* everyField =
    R"(,"server_id":"1","server_url":"http://2","ack_id":"3","signature":"4","post_id":"5","channel_id":"6",)"
    R"("root_id":"7","team_id":"8","sender_id":"9","sender_name":"10","channel_name":"11","override_username":)"
    R"("12","override_icon_url":"http://13","from_webhook":"true","is_crt_enabled":true,)"
    R"("id_loaded":true,"aps":{"badge":14},"sub_type":"15","verified":"false")";

TEST(PushPayload, EveryFieldHasItsKey) {
    const PushPayload expected{
        .kind = Kind::message, .serverID = "1", .serverURL = Foundation::URL::parse("http://2"), .ackID = "3",
        .signature = "4", .postID = "5", .channelID = "6", .rootID = "7", .teamID = "8", .senderID = "9",
        .senderName = "10", .channelName = "11", .overrideUsername = "12",
        .overrideIconURL = Foundation::URL::parse("http://13"), .isFromWebhook = true, .isCollapsedThreads = true,
        .isIDLoaded = true, .badge = 14, .subType = "15", .isVerified = false};
    EXPECT_EQ(payload(everyField), expected);
}

TEST(PushPayload, WrongKindsGiveTheDefault) {
    auto userInfo = Support::dictionary(std::string("{") + (everyField + 1) + '}');
    for (const char* wrong : {"5", "null", "[\"x\"]", "{\"badge\":true}", "4.5"}) {
        for (auto& [key, value] : userInfo) value = Support::dictionary(std::string(R"({"":)") + wrong + '}').at("");
        userInfo["type"] = "message";
        EXPECT_EQ(PushPayload::make(userInfo), payload("")) << wrong;
    }
}

TEST(PushPayload, FlagsAreReadEachInItsOwnWay) {
    using P = PushPayload;
    const std::tuple<const char*, bool P::*, bool> flags[] = {
        {R"(,"from_webhook":true)", &P::isFromWebhook, false}, {R"(,"from_webhook":"True")", &P::isFromWebhook, false},
        {R"(,"is_crt_enabled":"true")", &P::isCollapsedThreads, false}, {R"(,"id_loaded":0)", &P::isIDLoaded, false},
        {R"(,"is_crt_enabled":1.0)", &P::isCollapsedThreads, true}, {R"(,"verified":"False")", &P::isVerified, true},
        {R"(,"verified":false)", &P::isVerified, true}};
    for (const auto& [members, flag, value] : flags) EXPECT_EQ(payload(members).*flag, value) << members;
}

TEST(PushPayload, SomeTextsAreNone) {
    EXPECT_EQ(payload(R"(,"signature":"NO_SIGNATURE")").signature, std::nullopt);
    for (const char* text : {"no_signature", ""})
        EXPECT_EQ(payload(std::string(R"(,"signature":")") + text + '"').signature, text);
    for (const char* text : {"", "http://a b"})
        EXPECT_FALSE(payload(std::string(R"(,"server_url":")") + text + '"').serverURL) << text;
}

constexpr const char* channel = R"(,"channel_id":"c")";
constexpr const char* plain = R"(,"post_id":"p","channel_id":"c","root_id":"r")";
constexpr const char* reply = R"(,"channel_id":"c","root_id":"r","is_crt_enabled":true)";

TEST(PushPayload, ThreadAndConversation) {
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {R"(,"post_id":"p","channel_id":"c","is_crt_enabled":true)", "p", "c"},
        {plain, "r", "c"}, {reply, "r", "r"}};
    for (const auto& [members, thread, conversation] : rows) {
        EXPECT_EQ(payload(members).threadRootID(), thread) << members;
        EXPECT_EQ(payload(members).conversationID(), conversation) << members;
    }
}

TEST(PushPayload, ShownInTheOpenConversation) {
    using Open = std::optional<std::string>;
    const std::tuple<const char*, Open, Open, bool> rows[] = {
        {reply, "x", "r", true}, {reply, "c", {}, false}, {reply, "c", "x", false}, {plain, "c", {}, true},
        {plain, {}, "r", false}, {plain, "C", {}, false}, {"", {}, {}, false}};
    for (const auto& [members, openChannel, openThread, isShown] : rows)
        EXPECT_EQ(payload(members).isShown(openChannel, openThread), isShown) << members;
}

TEST(PushPayload, ClearedByThreadOrChannel) {
    const std::tuple<const char*, const char*, bool> rows[] = {
        {R"(,"post_id":"r","channel_id":"x")", reply, true}, {R"(,"root_id":"r","channel_id":"x")", reply, true},
        {channel, reply, false}, {channel, channel, true}, {plain, channel, true}, {reply, channel, false},
        {R"(,"channel_id":"c","is_crt_enabled":true)", channel, true}, {R"(,"channel_id":"x")", channel, false},
        {reply, plain, false}};
    for (const auto& [delivered, clear, isCleared] : rows)
        EXPECT_EQ(payload(delivered).isCleared(payload(clear)), isCleared) << delivered << clear;
}

}  // namespace
