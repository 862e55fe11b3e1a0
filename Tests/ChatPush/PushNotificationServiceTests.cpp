#include "ChatPush/PushNotificationService.h"

#include <future>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ChatPush/GatedSession.h"
#include "ChatPush/PushFixture.h"

using ChatPush::PushNotificationService;
using ChatPush::PushProcessor;
using UserNotifications::UNNotificationContent;

namespace {

/// A service whose pipeline stops at each stage until the test lets it go on.
struct PushNotificationServiceTest : PushFixture {
    Platform platform;
    std::promise<void> start;
    std::shared_ptr<GatedSession> session = std::make_shared<GatedSession>();
    std::shared_ptr<PushNotificationService> service =
        std::make_shared<PushNotificationService>([this, started = start.get_future().share()] {
            started.wait();
            return PushProcessor(servers, credentials, session);
        });

    void receive(const std::string& name = "") {
        service->didReceive({"1", UNNotificationContent(content(message()))}, platform.handler(name));
    }
    void answerMessage() { session->answer(200, R"({"message":"Whole text","sender_name":"Alice A."})"); }

    /// Lets the task end, which holds the service until then, and looks that it has handed over nothing more.
    void finishTask() {
        try {
            start.set_value();
        } catch (const std::future_error&) {
            // it has been let go on before
        }
        for (int i = 0; i < 4; ++i) session->answer(500);
        std::weak_ptr<PushNotificationService> ended = service;
        service.reset();
        while (!ended.expired()) std::this_thread::yield();
        EXPECT_FALSE(platform.hasMore());
    }
};

TEST_F(PushNotificationServiceTest, BeforeVerificationItIsShownAsUnverified) {
    receive();
    service->serviceExtensionTimeWillExpire();
    const auto shown = platform.next().second;
    EXPECT_EQ(shown.body(), unverifiedText);
    EXPECT_EQ(shown.title() + shown.subtitle() + shown.categoryIdentifier(), "");
    EXPECT_EQ(Foundation::textOrEmpty(shown.userInfo(), "verified"), "false");
    EXPECT_EQ(Foundation::textOrEmpty(shown.userInfo(), "post_id"), "post-1");
    finishTask();
}

TEST_F(PushNotificationServiceTest, BehindVerificationItIsShownAsPushed) {
    start.set_value();
    receive();
    (void)session->request(0);
    service->serviceExtensionTimeWillExpire();
    const auto shown = platform.next().second;
    EXPECT_EQ(shown.body(), message().body);
    EXPECT_EQ(shown.threadIdentifier(), "channel-1");
    EXPECT_FALSE(shown.userInfo().contains("verified"));
    finishTask();
}

TEST_F(PushNotificationServiceTest, BehindTheAcknowledgementItIsShownWithItsText) {
    start.set_value();
    answerMessage();
    receive();
    (void)session->request(1);
    service->serviceExtensionTimeWillExpire();
    const auto shown = platform.next().second;
    EXPECT_EQ(shown.body(), "Whole text");
    EXPECT_FALSE(shown.intent());
    finishTask();
}

TEST_F(PushNotificationServiceTest, CompletionIsTheOnlyDelivery) {
    start.set_value();
    answerMessage();
    session->answer(200, "picture");
    receive();
    const auto completed = platform.next().second;
    EXPECT_EQ(completed.body(), "Whole text");
    EXPECT_EQ(completed.intent()->sender.image->imageData, Foundation::bytes("picture"));
    service->serviceExtensionTimeWillExpire();
    finishTask();
}

TEST_F(PushNotificationServiceTest, WithoutARequestThereIsNothingToShow) {
    service->serviceExtensionTimeWillExpire();
    EXPECT_FALSE(platform.hasMore());
}

TEST_F(PushNotificationServiceTest, ASecondRequestTakesTheFirstOnesPlace) {
    receive("first");
    receive("second");
    start.set_value();
    for (int i = 0; i < 4; ++i) session->answer(500);
    EXPECT_EQ(platform.next().first, "second");
    finishTask();
}

TEST_F(PushNotificationServiceTest, WhatIsThrownPastThePipelineEndsInTheBestContent) {
    service = std::make_shared<PushNotificationService>([]() -> PushProcessor { throw std::bad_alloc(); });
    receive();
    EXPECT_EQ(platform.next().second.body(), unverifiedText);
    finishTask();
    EXPECT_THAT(log.lines(), testing::ElementsAre("error The push pipeline stopped: <private>"));
}

}  // namespace
