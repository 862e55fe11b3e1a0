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
    const std::pair<const char*, std::optional<Kind>> rows[] = {
        {R"({"type":"message"})", Kind::message}, {R"({"type":"clear"})", Kind::clear},
        {R"({"type":"update_badge"})", Kind::updateBadge}, {R"({"type":"session"})", Kind::session},
        {R"({"type":"test"})", Kind::test}, {R"({"type":"Message"})", {}}, {R"({"type":"update-badge"})", {}},
        {R"({"type":"message "})", {}}, {R"({"type":null})", {}}, {R"({"type":1})", {}}, {"{}", {}}};
    for (const auto& [json, kind] : rows) {
        SCOPED_TRACE(json);
        const auto made = PushPayload::make(Support::dictionary(json));
        EXPECT_EQ(made ? std::optional(made->kind) : std::nullopt, kind);
        EXPECT_TRUE(!kind || ChatModel::pushKind(wireName(*kind)) == kind);
    }
}

TEST(PushPayload, EveryFieldHasItsKey) {
    const auto made = payload(
        R"(,"server_id":"1","server_url":"http://2","ack_id":"3","signature":"4","post_id":"5","channel_id":"6",)"
        R"("root_id":"7","team_id":"8","sender_id":"9","sender_name":"10","channel_name":"11","override_username":)"
        R"("12","override_icon_url":"http://13","from_webhook":"true","is_crt_enabled":true,)"
        R"("id_loaded":true,"aps":{"badge":14},"sub_type":"15","verified":"false")");
    const PushPayload expected{
        .kind = Kind::message, .serverID = "1", .serverURL = Foundation::URL::parse("http://2"), .ackID = "3",
        .signature = "4", .postID = "5", .channelID = "6", .rootID = "7", .teamID = "8", .senderID = "9",
        .senderName = "10", .channelName = "11", .overrideUsername = "12",
        .overrideIconURL = Foundation::URL::parse("http://13"), .isFromWebhook = true, .isCollapsedThreads = true,
        .isIDLoaded = true, .badge = 14, .subType = "15", .isVerified = false};
    EXPECT_EQ(made, expected);
}

TEST(PushPayload, WrongKindsGiveTheDefault) {
    const PushPayload plain = payload("");
    for (const char* wrong : {"5", "null", "[\"x\"]", "{\"x\":1}", "4.5"}) {
        std::string members = R"(,"badge":7,"aps":{"badge":"3"})";
        for (const char* key : {"server_id", "server_url", "ack_id", "signature", "post_id", "channel_id", "root_id",
                                "team_id", "sender_id", "sender_name", "channel_name", "override_username",
                                "override_icon_url", "from_webhook", "is_crt_enabled", "id_loaded",
                                "sub_type", "verified"})
            members.append(",\"").append(key).append("\":").append(wrong);
        SCOPED_TRACE(wrong);
        EXPECT_EQ(payload(members), plain);
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
    EXPECT_EQ(payload(R"(,"aps":{"badge":4.0})").badge, 4);
    EXPECT_EQ(payload(R"(,"aps":{"badge":true})").badge, std::nullopt);
}

TEST(PushPayload, ThreadAndConversation) {
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {R"(,"post_id":"p")", "p", ""}, {R"(,"post_id":"p","channel_id":"c","root_id":"r")", "r", "c"},
        {R"(,"channel_id":"c","is_crt_enabled":true)", "", "c"},
        {R"(,"channel_id":"c","root_id":"r","is_crt_enabled":true)", "r", "r"}};
    for (const auto& [members, thread, conversation] : rows) {
        EXPECT_EQ(payload(members).threadRootID(), thread) << members;
        EXPECT_EQ(payload(members).conversationID(), conversation) << members;
    }
}

TEST(PushPayload, ShownInTheOpenConversation) {
    using Open = std::optional<std::string>;
    const std::string plain = R"(,"channel_id":"c","root_id":"r")";
    const std::string reply = plain + R"(,"is_crt_enabled":true)";
    const std::tuple<std::string, Open, Open, bool> rows[] = {
        {reply, "x", "r", true}, {reply, "c", {}, false}, {reply, "c", "x", false}, {plain, "c", {}, true},
        {plain, {}, "r", false}, {plain, "C", {}, false}, {"", {}, {}, false}};
    for (const auto& [members, channel, thread, isShown] : rows)
        EXPECT_EQ(payload(members).isShown(channel, thread), isShown) << members;
}

TEST(PushPayload, ClearedByThreadOrChannel) {
    const char* const thread = R"(,"channel_id":"c","root_id":"r","is_crt_enabled":true)";
    const char* const channel = R"(,"channel_id":"c")";
    const std::tuple<const char*, const char*, bool> rows[] = {
        {R"(,"post_id":"r","channel_id":"x")", thread, true}, {R"(,"root_id":"r","channel_id":"x")", thread, true},
        {R"(,"post_id":"p","channel_id":"c")", thread, false}, {R"(,"post_id":"p","channel_id":"c")", channel, true},
        {R"(,"root_id":"r","channel_id":"c")", channel, true}, {thread, channel, false},
        {R"(,"channel_id":"c","is_crt_enabled":true)", channel, true}, {R"(,"channel_id":"x")", channel, false},
        {thread, R"(,"channel_id":"c","root_id":"r")", false}};
    for (const auto& [delivered, clear, isCleared] : rows)
        EXPECT_EQ(payload(delivered).isCleared(payload(clear)), isCleared) << delivered << clear;
}

}  // namespace
