#include "ChatPush/PushAck.h"

#include <cmath>

#include "ChatPush/PushFixture.h"
#include "Foundation/DecodingError.h"

using ChatPush::PushAck;
using Foundation::URL;

namespace {

struct PushAckTest : testing::Test {
    std::shared_ptr<GatedSession> session = std::make_shared<GatedSession>();
    PushAck ack{*URL::parse("https://h/chat/"), " to ken ", session};

    std::optional<PushAck::Message> answer(const std::string& members, int status, const std::string& body) {
        session->answer(status, body);
        return ack.send(payload(members), {0});
    }
};

constexpr const char* idLoaded = R"(,"post_id":"p","id_loaded":true)";

TEST_F(PushAckTest, TheRequest) {
    const std::tuple<const char*, double, std::string> rows[] = {
        {R"(,"ack_id":"a/é","post_id":"p")", 1.5, R"({"id":"a/é","platform":"tessel_macos",)"
         R"("type":"message","received_at":1500,"post_id":"p","is_id_loaded":false})"},
        {R"(,"type":"update_badge","id_loaded":true)", 0.0009, R"({"id":"","platform":"tessel_macos",)"
         R"("type":"update_badge","received_at":0,"is_id_loaded":true})"},
        {R"(,"type":"clear","post_id":"p")", -0.0015, R"({"id":"","platform":"tessel_macos",)"
         R"("type":"clear","received_at":-1,"post_id":"p","is_id_loaded":false})"}};
    for (const auto& [members, seconds, body] : rows) {
        session->answer(200);
        EXPECT_FALSE(ack.send(payload(members), {seconds})) << members;
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
    EXPECT_EQ(answer(idLoaded, 200, R"({"message":"text","sender_id":null,"team_id":"t","unknown":1})"),
              (PushAck::Message{"text", "", "", "", "", "t", "", "", ""}));
    for (const char* other : {R"(,"post_id":"p")", R"(,"type":"clear","post_id":"p","id_loaded":true)",
                              R"(,"id_loaded":true)"})
        EXPECT_FALSE(answer(other, 204, R"({"message":"text"})")) << other;
}

TEST_F(PushAckTest, StatusesAndAnswersThatFail) {
    for (const int status : {199, 300})
        EXPECT_THAT([&] { (void)answer(idLoaded, status, "{}"); },
                    testing::Throws<PushAck::Failure>(testing::Property(&PushAck::Failure::statusCode, status)));
    EXPECT_EQ(answer(idLoaded, 299, "{}"), PushAck::Message());
    for (const char* body : {"", R"({"from_webhook":true})"})
        EXPECT_THROW((void)answer(idLoaded, 200, body), Foundation::DecodingError) << body;
}

TEST(PushAckDeathTest, AnInstantBeyondAllNumbersStopsTheProcess) {
    const PushAck ack{URL(), "", nullptr};
    for (const double seconds : {std::nan(""), 1e16, -1e300})
        EXPECT_EXIT((void)ack.send(payload(""), {seconds}), testing::ExitedWithCode(70), "milliseconds") << seconds;
}

TEST(PushAckPlatform, NamesAreMatchedExactly) {
    EXPECT_EQ(Foundation::fromWireName<PushAck::Platform>("tessel_ios"), PushAck::Platform::iOS);
    EXPECT_FALSE(Foundation::fromWireName<PushAck::Platform>("Tessel_macos"));
}

}  // namespace
