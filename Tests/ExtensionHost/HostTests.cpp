#include "ExtensionHost/Host.h"

#include <condition_variable>
#include <future>
#include <mutex>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ExtensionHost/Card.h"
#include "ExtensionHost/ContentJSON.h"
#include "Support/Support.h"

using ExtensionHost::DeliveredPush;
using ExtensionHost::Delivery;
using ExtensionHost::Host;
using UserNotifications::ContentHandler;
using UserNotifications::UNMutableNotificationContent;
using UserNotifications::UNNotificationContent;
using UserNotifications::UNNotificationRequest;

namespace {

UNNotificationContent titled(const std::string& title) {
    UNMutableNotificationContent content;
    content.title = title;
    return content.copy();
}

/// An extension that does what a test says.
class Scripted final : public Host::Service {
public:
    std::function<void(const UNNotificationRequest&, ContentHandler)> onReceive;
    std::function<void()> onExpire = [] {};

    void didReceive(const UNNotificationRequest& request, ContentHandler handler) override {
        onReceive(request, std::move(handler));
    }
    void serviceExtensionTimeWillExpire() override { onExpire(); }
};

struct HostTest : testing::Test {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<DeliveredPush> delivered;
    std::function<void(Scripted&)> script;
    Support::LogRecorder log;

    std::unique_ptr<Host> host(Host::Options options) {
        return std::make_unique<Host>(
            options,
            [this] {
                auto service = std::make_unique<Scripted>();
                script(*service);
                return service;
            },
            [this](const DeliveredPush& push) {
                const std::lock_guard lock(mutex);
                delivered.push_back(push);
                changed.notify_all();
                return true;
            });
    }
};

ExtensionHost::Push push(std::size_t index = 0) {
    return {index, Support::dictionary(R"({"aps":{"alert":"own"}})")};
}

TEST_F(HostTest, TakesTheFirstContentAndReportsTheRest) {
    script = [](Scripted& service) {
        service.onReceive = [](const auto& request, const auto& handler) {
            EXPECT_EQ(request.content.body(), "own");
            const auto intent = std::make_shared<const Intents::INSendMessageIntent>();
            Intents::INInteraction{intent}.donate();
            handler(titled("first").updating(intent));
            handler(titled("second"));
        };
    };
    const auto running = host({});
    EXPECT_TRUE(running->receive(push()));
    running->finish();
    ASSERT_EQ(delivered.size(), 1U);
    EXPECT_EQ(delivered[0].content.title(), "first");
    EXPECT_EQ(delivered[0].delivery, Delivery::completed);
    EXPECT_TRUE(delivered[0].wasDonated);
    EXPECT_THAT(log.lines(), testing::ElementsAre("error The extension answered a request that had been delivered"));
}

TEST_F(HostTest, AnnouncesTheEndOfTimeAndWaitsALittleLonger) {
    ContentHandler late;
    script = [&late](Scripted& service) {
        service.onReceive = [&late, &service](const auto& request, const auto& handler) {
            if (request.identifier == "0")
                service.onExpire = [handler] { handler(titled("in time")); };
            else
                late = handler;
        };
    };
    const std::chrono::milliseconds grace(30);
    const auto running = host({.timeLimit = std::chrono::duration<double>(0.01), .grace = grace});
    running->receive(push(0));
    running->receive(push(1));
    running->finish();
    late(titled("too late"));
    ASSERT_EQ(delivered.size(), 2U);
    EXPECT_EQ(delivered[0].delivery, Delivery::expired);
    EXPECT_EQ(delivered[0].content.title(), "in time");
    EXPECT_EQ(delivered[1].delivery, Delivery::none);
    EXPECT_EQ(delivered[1].content.body(), "own");
    EXPECT_GE(delivered[1].time, grace);
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(HostTest, WhatTheExtensionThrowsCostsItsOwnRequestAlone) {
    script = [](Scripted& service) {
        service.onReceive = [](const auto& request, const auto& handler) {
            if (request.identifier == "0") throw std::runtime_error("canary");
            handler(titled("good"));
        };
    };
    const auto running = host({});
    running->receive(push(0));
    running->receive(push(1));
    running->finish();
    ASSERT_EQ(delivered.size(), 2U);
    EXPECT_EQ(delivered[0].delivery, Delivery::none);
    EXPECT_EQ(delivered[1].content.title(), "good");
    EXPECT_THAT(log.lines(), testing::ElementsAre("error The extension did not take a request: <private>"));
}

TEST_F(HostTest, AsManyAtOnceAsThereAreJobs) {
    std::vector<ContentHandler> pending;
    script = [&](Scripted& service) {
        service.onReceive = [&](const auto&, const auto& handler) {
            const std::lock_guard lock(mutex);
            pending.push_back(handler);
            changed.notify_all();
        };
    };
    const auto running = host({.jobs = 2});
    auto input = std::async(std::launch::async, [&] {
        for (std::size_t i = 0; i < 3; ++i) running->receive(push(i));
    });
    const auto waitForPending = [&](std::size_t count) {
        std::unique_lock lock(mutex);
        changed.wait(lock, [&] { return pending.size() >= count; });
        return pending.size();
    };
    EXPECT_EQ(waitForPending(2), 2U);
    pending[1](titled("1"));
    EXPECT_EQ(waitForPending(3), 3U);
    input.get();
    pending[2](titled("2"));
    pending[0](titled("0"));
    running->finish();
    EXPECT_THAT(delivered, testing::ElementsAre(testing::Field(&DeliveredPush::index, 1),
                                                testing::Field(&DeliveredPush::index, 2),
                                                testing::Field(&DeliveredPush::index, 0)));
}

TEST_F(HostTest, TasksThatOutliveTheirRequestsAreBounded) {
    std::vector<std::shared_ptr<Host::Service>> tasks;
    script = [&](Scripted& service) {
        service.onReceive = [&](const auto&, const auto& handler) {
            tasks.push_back(service.shared_from_this());
            handler(titled(""));
        };
    };
    const auto running = host({});
    for (std::size_t i = 0; i < Host::maximumLateTasks; ++i) running->receive(push(i));
    EXPECT_EQ(delivered.size(), Host::maximumLateTasks);
    auto next = std::async(std::launch::async, [&] { return running->receive(push(Host::maximumLateTasks)); });
    EXPECT_EQ(next.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    std::shared_ptr<Host::Service> ending;
    ending.swap(tasks[0]);
    ending.reset();
    EXPECT_TRUE(next.get());
}

TEST(ContentOfPush, TheAlertIsReadLeniently) {
    const std::pair<const char*, UNMutableNotificationContent> rows[] = {
        {R"({"aps":{"alert":{"title":"t","subtitle":"s","body":"b"},"badge":3.0,"sound":"x","thread-id":"h","category":"c"}})",
         {"t", "s", "b", "h", "c", 3, "x", {}}},
        {R"({"aps":{"alert":"body","badge":"3","sound":{},"category":5}})", {"", "", "body", "", "", {}, {}, {}}},
        {R"({"aps":{"alert":{"title":5,"body":null},"badge":true}})", {"", "", "", "", "", {}, {}, {}}},
        {R"({"aps":[]})", {}},
        {"{}", {}},
    };
    for (auto [payload, expected] : rows) {
        expected.userInfo = Support::dictionary(payload);
        EXPECT_EQ(ExtensionHost::contentOfPush(Support::dictionary(payload)), expected) << payload;
    }
}

TEST(Card, ControlCharactersAreSpelledOut) {
    UNMutableNotificationContent content;
    content.title = "a\x1b[2J";
    content.body = "two\nlines\x9b";
    EXPECT_EQ(ExtensionHost::card(content.copy(), "0"), "╭─ 0\n│ a\\u{1b}[2J\n│ two\n│ lines\uFFFD\n╰─\n");
}

}  // namespace
