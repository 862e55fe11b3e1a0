#include "ChatPush/PushNotificationService.h"

#include <semaphore>

#include "ChatPush/GatedSession.h"
#include "ChatPush/PushFixture.h"

using ChatPush::PushNotificationService;
using ChatPush::PushProcessor;
using UserNotifications::UNNotificationContent;

namespace {

/// A service whose pipeline stops at each stage until the test lets it go on.
struct PushNotificationServiceTest : PushFixture {
    Support::Queue<std::pair<std::string, UNNotificationContent>> delivered;
    std::counting_semaphore<> start{0};
    std::shared_ptr<GatedSession> session = std::make_shared<GatedSession>();
    std::shared_ptr<PushNotificationService> service = std::make_shared<PushNotificationService>([this] {
        start.acquire();
        return PushProcessor(servers, credentials, session);
    });

    void receive(const std::string& name = "") {
        service->didReceive({"1", UNNotificationContent(content(message()))},
                            [this, name](const auto& content) { delivered.push({name, content}); });
    }
    void answerMessage() { session->answer(200, R"({"message":"Whole text","sender_name":"Alice A."})"); }
    UNNotificationContent shownAtTheEndOfTime() {
        service->serviceExtensionTimeWillExpire();
        return delivered.pop().second;
    }

    /// Lets the task end, which holds the service until then, and looks that it has handed over nothing more.
    void TearDown() override {
        start.release(2);
        for (int i = 0; i < 4; ++i) session->answer(500);
        std::weak_ptr<PushNotificationService> ended = service;
        service.reset();
        while (!ended.expired()) std::this_thread::yield();
        EXPECT_TRUE(delivered.isEmpty());
    }
};

TEST_F(PushNotificationServiceTest, BeforeVerificationItIsShownAsUnverified) {
    receive();
    const auto shown = shownAtTheEndOfTime();
    EXPECT_EQ(shown.body(), unverifiedText);
    EXPECT_EQ(shown.title(), "");
    EXPECT_EQ(Foundation::textOrEmpty(shown.userInfo(), "verified"), "false");
}

TEST_F(PushNotificationServiceTest, BehindVerificationItIsShownAsPushed) {
    start.release(2);
    receive();
    (void)session->requests.pop();
    const auto shown = shownAtTheEndOfTime();
    EXPECT_EQ(shown.body(), message().body);
    EXPECT_EQ(shown.threadIdentifier(), "channel-1");
    EXPECT_FALSE(shown.userInfo().contains("verified"));
}

TEST_F(PushNotificationServiceTest, BehindTheAcknowledgementItIsShownWithItsText) {
    start.release(2);
    answerMessage();
    receive();
    for (int i = 0; i < 2; ++i) (void)session->requests.pop();
    const auto shown = shownAtTheEndOfTime();
    EXPECT_EQ(shown.body(), "Whole text");
    EXPECT_FALSE(shown.intent());
}

TEST_F(PushNotificationServiceTest, CompletionIsTheOnlyDelivery) {
    start.release(2);
    answerMessage();
    session->answer(200, "picture");
    receive();
    const auto completed = delivered.pop().second;
    EXPECT_EQ(completed.body(), "Whole text");
    EXPECT_EQ(completed.intent()->sender.image->imageData, Foundation::bytes("picture"));
    service->serviceExtensionTimeWillExpire();
}

TEST_F(PushNotificationServiceTest, WithoutARequestThereIsNothingToShow) {
    service->serviceExtensionTimeWillExpire();
}

TEST_F(PushNotificationServiceTest, ASecondRequestTakesTheFirstOnesPlace) {
    receive("first");
    receive("second");
    start.release(2);
    for (int i = 0; i < 4; ++i) session->answer(500);
    EXPECT_EQ(delivered.pop().first, "second");
}

TEST_F(PushNotificationServiceTest, WhatIsThrownPastThePipelineEndsInTheBestContent) {
    service = std::make_shared<PushNotificationService>([]() -> PushProcessor { throw std::bad_alloc(); });
    receive();
    EXPECT_EQ(delivered.pop().second.body(), unverifiedText);
    TearDown();
    EXPECT_THAT(log.lines(), testing::ElementsAre("error The push pipeline stopped: <private>"));
}

}  // namespace
