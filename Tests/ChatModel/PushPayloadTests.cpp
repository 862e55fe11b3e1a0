#include "ChatModel/PushPayload.h"

#include <functional>

#include <gtest/gtest.h>

#include "Support/Support.h"

using ChatModel::PushPayload;
using Kind = PushPayload::Kind;

namespace {

/// The payload of an object's text, "type" being there already.
PushPayload payload(const std::string& members) {
    const auto made = PushPayload::make(Support::dictionary(R"({"type":"message")" + members + "}"));
    EXPECT_TRUE(made.has_value());
    return made.value();
}

TEST(PushPayload, KindIsMatchedExactly) {
    const std::pair<const char*, std::optional<Kind>> rows[] = {
        {R"({"type":"message"})", Kind::message},
        {R"({"type":"clear"})", Kind::clear},
        {R"({"type":"update_badge"})", Kind::updateBadge},
        {R"({"type":"session"})", Kind::session},
        {R"({"type":"test"})", Kind::test},
        {R"({"type":"Message"})", std::nullopt},
        {R"({"type":"update-badge"})", std::nullopt},
        {R"({"type":"message "})", std::nullopt},
        {R"({"type":null})", std::nullopt},
        {R"({"type":1})", std::nullopt},
        {"{}", std::nullopt},
    };
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
        R"("root_id":"7","team_id":"8","sender_id":"9","sender_name":"10","channel_name":"11","override_username":"12",)"
        R"("override_icon_url":"http://13","from_webhook":"true","is_crt_enabled":true,"id_loaded":true,)"
        R"("aps":{"badge":14},"sub_type":"15","verified":"false")");
    const PushPayload expected{.kind = Kind::message,
                               .serverID = "1",
                               .serverURL = Foundation::URL::parse("http://2"),
                               .ackID = "3",
                               .signature = "4",
                               .postID = "5",
                               .channelID = "6",
                               .rootID = "7",
                               .teamID = "8",
                               .senderID = "9",
                               .senderName = "10",
                               .channelName = "11",
                               .overrideUsername = "12",
                               .overrideIconURL = Foundation::URL::parse("http://13"),
                               .isFromWebhook = true,
                               .isCollapsedThreads = true,
                               .isIDLoaded = true,
                               .badge = 14,
                               .subType = "15",
                               .isVerified = false};
    EXPECT_EQ(made, expected);
}

TEST(PushPayload, WrongKindsGiveTheDefault) {
    const PushPayload plain = payload("");
    for (const char* wrong : {"5", "null", "[\"x\"]", "{\"x\":1}", "4.5"}) {
        std::string members = R"(,"badge":7,"aps":{"badge":"3"})";
        for (const char* key : {"server_id", "server_url", "ack_id", "signature", "post_id", "channel_id", "root_id",
                                "team_id", "sender_id", "sender_name", "channel_name", "override_username",
                                "override_icon_url", "from_webhook", "is_crt_enabled", "id_loaded", "sub_type",
                                "verified"})
            members.append(",\"").append(key).append("\":").append(wrong);
        SCOPED_TRACE(wrong);
        EXPECT_EQ(payload(members), plain);
    }
}

TEST(PushPayload, FlagsAreReadEachInItsOwnWay) {
    struct Row {
        const char* members;
        std::function<bool(const PushPayload&)> holds;
    };
    const Row rows[] = {
        {R"(,"from_webhook":true)", [](const auto& p) { return !p.isFromWebhook; }},
        {R"(,"from_webhook":"True")", [](const auto& p) { return !p.isFromWebhook; }},
        {R"(,"is_crt_enabled":"true")", [](const auto& p) { return !p.isCollapsedThreads; }},
        {R"(,"is_crt_enabled":1)", [](const auto& p) { return p.isCollapsedThreads; }},
        {R"(,"is_crt_enabled":1.0)", [](const auto& p) { return p.isCollapsedThreads; }},
        {R"(,"is_crt_enabled":2)", [](const auto& p) { return !p.isCollapsedThreads; }},
        {R"(,"id_loaded":true)", [](const auto& p) { return p.isIDLoaded; }},
        {R"(,"id_loaded":0)", [](const auto& p) { return !p.isIDLoaded; }},
        {R"(,"verified":"False")", [](const auto& p) { return p.isVerified; }},
        {R"(,"verified":false)", [](const auto& p) { return p.isVerified; }},
        {R"(,"signature":"NO_SIGNATURE")", [](const auto& p) { return !p.signature; }},
        {R"(,"signature":"no_signature")", [](const auto& p) { return p.signature.has_value(); }},
        {R"(,"signature":"")", [](const auto& p) { return p.signature == ""; }},
        {R"(,"server_url":"")", [](const auto& p) { return !p.serverURL; }},
        {R"(,"server_url":"http://a b")", [](const auto& p) { return !p.serverURL; }},
        {R"(,"aps":{"badge":4.0})", [](const auto& p) { return p.badge == 4; }},
        {R"(,"aps":{"badge":true})", [](const auto& p) { return !p.badge; }},
        {R"(,"aps":{"badge":1e30})", [](const auto& p) { return !p.badge; }},
    };
    for (const auto& row : rows) EXPECT_TRUE(row.holds(payload(row.members))) << row.members;
}

TEST(PushPayload, ThreadAndConversation) {
    EXPECT_EQ(payload(R"(,"post_id":"p")").threadRootID(), "p");
    EXPECT_EQ(payload(R"(,"post_id":"p","root_id":"r")").threadRootID(), "r");
    EXPECT_EQ(payload(R"(,"channel_id":"c","root_id":"r")").conversationID(), "c");
    EXPECT_EQ(payload(R"(,"channel_id":"c","is_crt_enabled":true)").conversationID(), "c");
    EXPECT_EQ(payload(R"(,"channel_id":"c","root_id":"r","is_crt_enabled":true)").conversationID(), "r");
}

TEST(PushPayload, ShownInTheOpenConversation) {
    const auto reply = payload(R"(,"channel_id":"c","root_id":"r","is_crt_enabled":true)");
    const auto plain = payload(R"(,"channel_id":"c","root_id":"r")");
    EXPECT_TRUE(reply.isShown("x", "r"));
    EXPECT_FALSE(reply.isShown("c", std::nullopt));
    EXPECT_FALSE(reply.isShown("c", "x"));
    EXPECT_TRUE(plain.isShown("c", std::nullopt));
    EXPECT_FALSE(plain.isShown(std::nullopt, "r"));
    EXPECT_FALSE(payload("").isShown(std::nullopt, std::nullopt));
    EXPECT_FALSE(plain.isShown("C", std::nullopt));
}

TEST(PushPayload, ClearedByThreadOrChannel) {
    struct Row {
        const char* delivered;
        const char* clear;
        bool cleared;
    };
    const char* const thread = R"(,"channel_id":"c","root_id":"r","is_crt_enabled":true)";
    const char* const channel = R"(,"channel_id":"c")";
    const Row rows[] = {
        {R"(,"post_id":"r","channel_id":"x")", thread, true},
        {R"(,"root_id":"r","channel_id":"x")", thread, true},
        {R"(,"post_id":"p","channel_id":"c")", thread, false},
        {R"(,"post_id":"p","channel_id":"c")", channel, true},
        {R"(,"root_id":"r","channel_id":"c")", channel, true},
        {thread, channel, false},
        {R"(,"channel_id":"c","is_crt_enabled":true)", channel, true},
        {R"(,"channel_id":"x")", channel, false},
        {thread, R"(,"channel_id":"c","root_id":"r")", false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(payload(row.delivered).isCleared(payload(row.clear)), row.cleared) << row.delivered << row.clear;
}

}  // namespace
