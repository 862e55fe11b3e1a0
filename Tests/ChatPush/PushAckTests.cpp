#include "ChatPush/PushAck.h"

#include <cmath>

#include "ChatPush/GatedSession.h"
#include "Foundation/DecodingError.h"
#include "Support/Support.h"

using ChatModel::PushPayload;
using ChatPush::PushAck;
using Foundation::URL;

namespace {

struct PushAckTest : testing::Test {
    std::shared_ptr<GatedSession> session = std::make_shared<GatedSession>();
    PushAck ack{*URL::parse("https://h/chat/"), " to ken ", session};

    static PushPayload push(const std::string& members) {
        return PushPayload::make(Support::dictionary("{" + members + "}")).value();
    }
};

constexpr const char* idLoaded = R"("type":"message","ack_id":"a","post_id":"p","id_loaded":true)";

TEST_F(PushAckTest, TheRequest) {
    const std::tuple<const char*, double, std::string> rows[] = {
        {R"("type":"message","ack_id":"a/é","post_id":"p")", 1.5, R"({"id":"a/é","platform":"tessel_macos",)"
         R"("type":"message","received_at":1500,"post_id":"p","is_id_loaded":false})"},
        {R"("type":"update_badge","id_loaded":true)", 0.0009, R"({"id":"","platform":"tessel_macos",)"
         R"("type":"update_badge","received_at":0,"is_id_loaded":true})"},
        {R"("type":"clear","post_id":"p")", -0.0015, R"({"id":"","platform":"tessel_macos",)"
         R"("type":"clear","received_at":-1,"post_id":"p","is_id_loaded":false})"}};
    for (const auto& [members, seconds, body] : rows) {
        session->answer(200);
        EXPECT_FALSE(ack.send(push(members), {seconds})) << members;
        const auto request = session->requests.pop();
        EXPECT_EQ(Foundation::textView(request.httpBody), body);
        EXPECT_EQ(request.url.absoluteString(), "https://h/chat/api/v4/notifications/ack");
        EXPECT_EQ(request.httpMethod, "POST");
        EXPECT_EQ(request.timeoutInterval, 60);
        EXPECT_THAT(request.headers, testing::ElementsAre(testing::Pair("Content-Type", "application/json"),
                                                          testing::Pair("Authorization", "Bearer  to ken ")));
    }
}

TEST_F(PushAckTest, OnlyContentThatWasAskedForIsRead) {
    session->answer(200, R"({"message":"text","sender_id":null,"team_id":"t","unknown":1})");
    const auto message = ack.send(push(idLoaded), {0}).value();
    EXPECT_EQ(message, (PushAck::Message{"text", "", "", "", "", "t", "", "", ""}));
    for (const char* other : {R"("type":"message","post_id":"p")", R"("type":"clear","post_id":"p","id_loaded":true)",
                              R"("type":"message","id_loaded":true)"}) {
        session->answer(204, R"({"message":"text"})");
        EXPECT_FALSE(ack.send(push(other), {0})) << other;
    }
}

TEST_F(PushAckTest, StatusesAndAnswersThatFail) {
    for (const int status : {199, 300, 401, 500}) {
        session->answer(status, R"({"message":"text"})");
        EXPECT_THAT([&] { (void)ack.send(push(idLoaded), {0}); },
                    testing::Throws<PushAck::Failure>(testing::Property(&PushAck::Failure::statusCode, status)));
    }
    session->answer(299, "{}");
    EXPECT_EQ(ack.send(push(idLoaded), {0}), PushAck::Message());
    for (const char* body : {"", "null", "[]", R"({"from_webhook":true})", R"({"message":5})"}) {
        session->answer(200, body);
        EXPECT_THROW((void)ack.send(push(idLoaded), {0}), Foundation::DecodingError) << body;
    }
    session->fail(Foundation::URLError::Code::timedOut);
    EXPECT_THROW((void)ack.send(push(idLoaded), {0}), Foundation::URLError);
}

TEST(PushAckDeathTest, AnInstantBeyondAllNumbersStopsTheProcess) {
    const auto push = PushPayload::make(Support::dictionary(R"({"type":"test"})")).value();
    const PushAck ack{URL(), "", nullptr};
    for (const double seconds : {std::nan(""), 1e16, -1e300})
        EXPECT_EXIT((void)ack.send(push, {seconds}), testing::ExitedWithCode(70), "milliseconds") << seconds;
}

TEST(PushAckPlatform, NamesAreMatchedExactly) {
    EXPECT_EQ(ChatPush::pushAckPlatform("tessel_ios"), PushAck::Platform::iOS);
    EXPECT_EQ(ChatPush::pushAckPlatform("tessel_macos"), PushAck::current);
    EXPECT_FALSE(ChatPush::pushAckPlatform("Tessel_macos"));
}

}  // namespace
