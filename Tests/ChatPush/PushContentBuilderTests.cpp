#include "ChatPush/PushContentBuilder.h"

#include <functional>

#include "ChatPush/PushFixture.h"

using namespace Foundation;
using Intents::INImage;
using Content = UserNotifications::UNMutableNotificationContent;
namespace Builder = ChatPush::PushContentBuilder;

namespace {

Dictionary userInfo(const std::string& members) {
    return Support::dictionary(R"({"type":"message","x":[null,1.5])" + members + "}");
}

const std::string inThread = R"(,"channel_id":"c","root_id":"r","is_crt_enabled":true)";
const Content pushed{"T", "S", "B", "thread", "category", 3, "ding", userInfo(R"(,"root_id":"r0","message":"m0")")};

TEST(PushContentBuilder, WritesWhatThereIsToSayAndKeepsTheRest) {
    const std::tuple<const char*, std::function<void(Content&)>, Content> rows[] = {
        {"not verified", [](auto& content) { Builder::unverified(content, "text"); },
         {"", "", "text", "thread", "", 3, "ding", userInfo(R"(,"root_id":"r0","message":"m0","verified":"false")")}},
        {"configured", [](auto& content) { Builder::configure(content, payload(inThread)); },
         {"T", "S", "B", "r", "CAN_REPLY", 3, "ding", pushed.userInfo}},
        {"nothing said", [](auto& content) { Builder::apply({}, content); },
         {"T", "S", "", "thread", "category", 3, "ding", pushed.userInfo}},
        {"all said", [](auto& content) { Builder::apply({"1", "2", "3", "4", "5", "6", "7", "8", "9"}, content); },
         {"2", "S", "1", "thread", "category", 3, "ding", userInfo(
             R"(,"message":"1","channel_name":"2","sender_id":"3","sender_name":"4","root_id":"5","team_id":"6",)"
             R"("override_username":"7","override_icon_url":"8","from_webhook":"9")")}}};
    for (const auto& [name, write, expected] : rows) {
        auto content = pushed;
        write(content);
        EXPECT_EQ(content, expected) << name;
    }
}

TEST(PushContentBuilder, WhereThePictureIs) {
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {R"(,"sender_id":"u","override_icon_url":"https://x/i")", "http://h", "https://x/i"},
        {R"(,"sender_id":"u","override_icon_url":"no url")", "http://h", "http://h/api/v4/users/u/image"},
        {R"(,"sender_id":"../a b?")", "http://h/chat/", "http://h/chat/api/v4/users/../a%20b%3F/image"}};
    for (const auto& [members, server, address] : rows)
        EXPECT_EQ(Builder::avatarURL(payload(members), *URL::parse(server)), URL::parse(address)) << members;
    EXPECT_FALSE(Builder::avatarURL(payload(""), *URL::parse("http://h")));
}

TEST(PushContentBuilder, TheSenderAsAPerson) {
    const std::tuple<const char*, const char*, std::optional<Data>, Intents::INPerson> rows[] = {
        {R"(,"sender_id":"u","sender_name":"a")", "T", Data{1, 2}, {{"u"}, "T", INImage{{1, 2}}, "u"}},
        {R"(,"sender_name":"alice","override_username":"bot")", "", {}, {{"bot"}, "alice", {}, {}}},
        {"", "", Data(), {{""}, "", INImage{}, {}}}};
    for (const auto& [members, title, avatar, person] : rows) {
        auto shown = pushed;
        shown.title = title;
        const auto intent = Builder::intent(payload(members + inThread), shown, avatar);
        EXPECT_EQ(intent->sender, person) << members;
        EXPECT_EQ(intent->content, "B");
        EXPECT_EQ(intent->conversationIdentifier, "r");
    }
}

}  // namespace
