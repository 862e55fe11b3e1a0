#include "ChatPush/PushContentBuilder.h"

#include "Support/Support.h"

using ChatModel::PushPayload;
using Foundation::URL;
using UserNotifications::UNMutableNotificationContent;
namespace Builder = ChatPush::PushContentBuilder;

namespace {

PushPayload push(const std::string& members) {
    return PushPayload::make(Support::dictionary(R"({"type":"message")" + members + "}")).value();
}

UNMutableNotificationContent content() {
    return {"T", "S", "B", "thread", "category", 3, "ding",
            Support::dictionary(R"({"type":"message","root_id":"r0","message":"m0","x":[null,1.5]})")};
}

TEST(PushContentBuilder, UnverifiedTakesTheTextsAndKeepsTheRest) {
    UNMutableNotificationContent expected{"", "", "text", "thread", "", 3, "ding", content().userInfo};
    expected.userInfo["verified"] = "false";
    auto changed = content();
    Builder::unverified(changed, "text");
    EXPECT_EQ(changed, expected);
    EXPECT_FALSE(PushPayload::make(changed.userInfo)->isVerified);
}

TEST(PushContentBuilder, ConfiguringSetsConversationAndCategory) {
    const std::pair<const char*, const char*> rows[] = {
        {R"(,"channel_id":"c","root_id":"r","is_crt_enabled":true)", "r"}, {R"(,"channel_id":"c")", "c"}, {"", ""}};
    for (const auto& [members, thread] : rows) {
        const UNMutableNotificationContent expected{
            "T", "S", "B", thread, "CAN_REPLY", 3, "ding", content().userInfo};
        auto changed = content();
        Builder::configure(changed, push(members));
        EXPECT_EQ(changed, expected) << members;
        EXPECT_EQ(Builder::intent(push(members), changed, {})->conversationIdentifier, thread) << members;
    }
}

TEST(PushContentBuilder, WhatTheMessageLeavesOpenStays) {
    auto changed = content();
    Builder::apply({}, changed);
    auto expected = content();
    expected.body = "";
    EXPECT_EQ(changed, expected);

    Builder::apply({"1", "2", "3", "4", "5", "6", "7", "8", "9"}, changed);
    EXPECT_EQ(changed.body, "1");
    EXPECT_EQ(changed.title, "2");
    EXPECT_EQ(Support::json(changed.userInfo),
              R"({"channel_name":"2","from_webhook":"9","message":"1","override_icon_url":"8","override_username":"7",)"
              R"("root_id":"5","sender_id":"3","sender_name":"4","team_id":"6","type":"message","x":[null,1.5]})");
}

TEST(PushContentBuilder, WhereThePictureIs) {
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {R"(,"sender_id":"u","override_icon_url":"https://x/i")", "http://h", "https://x/i"},
        {R"(,"sender_id":"u","override_icon_url":"no url")", "http://h", "http://h/api/v4/users/u/image"},
        {R"(,"sender_id":"../a b?")", "http://h/chat/", "http://h/chat/api/v4/users/../a%20b%3F/image"}};
    for (const auto& [members, server, address] : rows)
        EXPECT_EQ(Builder::avatarURL(push(members), *URL::parse(server)), URL::parse(address)) << members;
    EXPECT_FALSE(Builder::avatarURL(push(""), *URL::parse("http://h")));
}

TEST(PushContentBuilder, TheSenderAsAPerson) {
    auto shown = content();
    const auto named = Builder::intent(push(R"(,"sender_id":"u","sender_name":"a")"), shown, Foundation::Data{1, 2});
    EXPECT_EQ(named->sender, (Intents::INPerson{{"u"}, "T", Intents::INImage{{1, 2}}, "u"}));
    EXPECT_EQ(named->content, "B");

    shown.title = "";
    const auto webhook = Builder::intent(push(R"(,"sender_name":"alice","override_username":"bot")"), shown, {});
    EXPECT_EQ(webhook->sender, (Intents::INPerson{{"bot"}, "alice", std::nullopt, std::nullopt}));
    EXPECT_EQ(Builder::intent(push(""), shown, Foundation::Data())->sender,
              (Intents::INPerson{{""}, "", Intents::INImage{}, std::nullopt}));
}

}  // namespace
