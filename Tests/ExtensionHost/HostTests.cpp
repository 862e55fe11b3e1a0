#include "ExtensionHost/Host.h"

#include <future>

#include "ExtensionHost/Card.h"
#include "ExtensionHost/ContentJSON.h"
#include "Support/Support.h"

using namespace ExtensionHost;
using namespace UserNotifications;

namespace {

auto titled(const std::string& title) { return UNNotificationContent({title, "", "", "", "", {}, {}, {}}); }

/// An extension that does what a test says.
struct Scripted final : Host::Service {
    using Script = std::function<void(Scripted&, const UNNotificationRequest&, const ContentHandler&)>;

    explicit Scripted(Script toPlay) : script(std::move(toPlay)) {}
    Script script;
    std::function<void()> onExpire = [] {};

    void didReceive(const UNNotificationRequest& request, ContentHandler handler) override {
        script(*this, request, handler);
    }
    void serviceExtensionTimeWillExpire() override { onExpire(); }
};

Push push(std::size_t index) { return {index, Support::dictionary(R"({"aps":{"alert":"own"}})")}; }

struct HostTest : testing::Test {
    std::vector<DeliveredPush> delivered;
    Scripted::Script script;
    Support::LogRecorder log;

    std::unique_ptr<Host> host(Host::Options options) {
        return std::make_unique<Host>(
            options, [this] { return std::make_unique<Scripted>(script); },
            [this](const DeliveredPush& push) { delivered.push_back(push); });
    }
    /// A host that has delivered this many pushes.
    std::unique_ptr<Host> finished(std::size_t count, Host::Options options = {}) {
        auto running = host(options);
        for (std::size_t i = 0; i < count; ++i) EXPECT_TRUE(running->receive(push(i)));
        running->finish();
        EXPECT_EQ(delivered.size(), count);
        delivered.resize(count);
        return running;
    }
};

TEST_F(HostTest, TakesTheFirstContentAndReportsTheRest) {
    script = [](auto&, const auto& request, const auto& handler) {
        EXPECT_EQ(request.content.body(), "own");
        const auto intent = std::make_shared<const Intents::INSendMessageIntent>();
        Intents::INInteraction{intent}.donate();
        handler(titled("first").updating(intent));
        handler(titled("second"));
    };
    (void)finished(1);
    EXPECT_EQ(delivered[0].content.title(), "first");
    EXPECT_EQ(delivered[0].delivery, Delivery::completed);
    EXPECT_TRUE(delivered[0].wasDonated);
    EXPECT_THAT(log.lines(), testing::ElementsAre("error The extension answered a request that had been delivered"));
}

TEST_F(HostTest, AnnouncesTheEndOfTimeAndWaitsALittleLonger) {
    ContentHandler late;
    script = [&late](auto& service, const auto& request, const auto& handler) {
        if (request.identifier == "0")
            service.onExpire = [handler] { handler(titled("in time")); };
        else
            late = handler;
    };
    const std::chrono::milliseconds grace(30);
    const auto running = finished(2, {.timeLimit = std::chrono::duration<double>(0.01), .grace = grace});
    late(titled("too late"));
    EXPECT_EQ(delivered[0].delivery, Delivery::expired);
    EXPECT_EQ(delivered[0].content.title(), "in time");
    EXPECT_EQ(delivered[1].delivery, Delivery::none);
    EXPECT_EQ(delivered[1].content.body(), "own");
    EXPECT_GE(delivered[1].time, grace);
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(HostTest, WhatTheExtensionThrowsCostsItsOwnRequestAlone) {
    script = [](auto&, const auto& request, const auto& handler) {
        if (request.identifier == "0") throw std::runtime_error("canary");
        handler(titled("good"));
    };
    (void)finished(2);
    EXPECT_EQ(delivered[0].delivery, Delivery::none);
    EXPECT_EQ(delivered[1].content.title(), "good");
    EXPECT_THAT(log.lines(), testing::ElementsAre("error The extension did not take a request: <private>"));
}

TEST_F(HostTest, AsManyAtOnceAsThereAreJobs) {
    Support::Queue<ContentHandler> pending;
    script = [&](auto&, const auto&, const auto& handler) { pending.push(handler); };
    const auto running = host({.jobs = 2});
    auto input = std::async(std::launch::async, [&] {
        for (std::size_t i = 0; i < 3; ++i) running->receive(push(i));
    });
    const auto zero = pending.pop();
    const auto one = pending.pop();
    EXPECT_EQ(input.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    one(titled("1"));
    pending.pop()(titled("2"));
    zero(titled("0"));
    input.get();
    running->finish();
    const auto at = [](std::size_t index) { return testing::Field(&DeliveredPush::index, index); };
    EXPECT_THAT(delivered, testing::ElementsAre(at(1), at(2), at(0)));
}

TEST_F(HostTest, TasksThatOutliveTheirRequestsAreBounded) {
    std::vector<std::shared_ptr<Host::Service>> tasks;
    script = [&](auto& service, const auto&, const auto& handler) {
        tasks.push_back(service.shared_from_this());
        handler(titled(""));
    };
    const auto running = finished(Host::maximumLateTasks);
    auto next = std::async(std::launch::async, [&] { return running->receive(push(Host::maximumLateTasks)); });
    EXPECT_EQ(next.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    // The task ends behind the access to the list, which the next one is put into.
    (void)std::exchange(tasks[0], nullptr);
    EXPECT_TRUE(next.get());
}

TEST(ContentOfPush, TheAlertIsReadLeniently) {
    const std::pair<const char*, UNMutableNotificationContent> rows[] = {
        {R"({"aps":{"alert":{"title":"t","subtitle":"s","body":"b"},"badge":3.0,"sound":"x","thread-id":"h",)"
         R"("category":"c"}})", {"t", "s", "b", "h", "c", 3, "x", {}}},
        {R"({"aps":{"alert":"body","badge":"3","sound":{},"category":5}})", {"", "", "body", "", "", {}, {}, {}}},
        {R"({"aps":{"alert":{"title":5,"body":null},"badge":true}})", {"", "", "", "", "", {}, {}, {}}},
        {R"({"aps":[]})", {}}, {"{}", {}}};
    for (auto [payload, expected] : rows) {
        expected.userInfo = Support::dictionary(payload);
        EXPECT_EQ(contentOfPush(Support::dictionary(payload)), expected) << payload;
    }
}

TEST(Card, ControlCharactersAreSpelledOut) {
    const UNNotificationContent content({"a\x1b[2J", "", "two\nlines\x9b", "", "", {}, {}, {}});
    EXPECT_EQ(card(content, "0"), "╭─ 0\n│ a\\u{1b}[2J\n│ two\n│ lines\uFFFD\n╰─\n");
}

}  // namespace
