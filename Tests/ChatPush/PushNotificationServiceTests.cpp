#include "ChatPush/PushNotificationService.h"

#include <algorithm>
#include <atomic>
#include <semaphore>
#include <thread>

#include "ChatPush/PushFixture.h"

using ChatPush::PushNotificationService;
using ChatPush::PushProcessor;
using UserNotifications::UNNotificationContent;

namespace {

/// What a person would see of a content, and of which push it is.
std::string described(const UNNotificationContent& content) {
    std::string text = Foundation::textOrEmpty(content.userInfo(), "post_id") + ": " + content.title() + '|' +
                       content.body() + '|' + content.threadIdentifier() + '|' +
                       Foundation::textOrEmpty(content.userInfo(), "verified");
    if (content.intent()) text += "|" + std::string(Foundation::textView(content.intent()->sender.image->imageData));
    return text;
}

/// What holds for a service, said as simply as can be: what it has to deliver, and to whom.
struct Model {
    std::optional<std::string> handler;
    std::optional<std::string> best;
    std::vector<std::string>& delivered;

    void receive(const std::string& push) {
        handler = push;
        best = push + ": |" + PushFixture::unverifiedText + "||false";
    }
    void deliver(const std::string& content) {
        if (handler) delivered.push_back("to " + *std::exchange(handler, std::nullopt) + ' ' + content);
    }
    void expire() {
        if (best) deliver(*best);
    }
};

struct PushNotificationServiceTest : PushFixture {
    /// One push and its pipeline, which stops at each stage until it is let go on.
    struct Task {
        explicit Task(std::string push) : name(std::move(push)) {}

        const std::string name;
        GatedSession* session = new GatedSession;
        std::binary_semaphore arrived{0}, begin{0}, ended{0};
        int stepsTaken = 0;
    };

    Support::Queue<Task*> starting;
    std::vector<std::string> delivered;

    std::shared_ptr<PushNotificationService> makeService() {
        return std::make_shared<PushNotificationService>([this] {
            Task* const task = starting.pop();
            task->arrived.release();
            task->begin.acquire();
            // The pipeline lets go of the session when it has delivered.
            return PushProcessor(servers, credentials, {task->session, [task](GatedSession* session) {
                                                            delete session;
                                                            task->ended.release();
                                                        }});
        });
    }
    void receive(const std::shared_ptr<PushNotificationService>& service, Task& task) {
        auto push = message();
        push.postID = task.name;
        starting.push(&task);
        service->didReceive({"", UNNotificationContent(content(push))},
                            [this, &task, again = std::weak_ptr(service)](const auto& content) {
                                delivered.push_back("to " + task.name + ' ' + described(content));
                                again.lock()->serviceExtensionTimeWillExpire();  // would wait for its own lock for ever
                            });
        task.arrived.acquire();
    }

    /// A step is over when all that follows from it has been done.
    void takeStep(const std::shared_ptr<PushNotificationService>& service, Task& task, Model& model) {
        const std::string shown = task.name + ": Pushed title|";
        switch (task.stepsTaken++) {
            case 0:
                receive(service, task);
                model.receive(task.name);
                break;
            case 1:
                task.begin.release();
                (void)task.session->requests.pop();
                model.best = shown + "You have a new message.|channel-1|";
                break;
            case 2:
                task.session->answer(200, R"({"message":"Whole text"})");
                (void)task.session->requests.pop();
                model.best = shown + "Whole text|channel-1|";
                break;
            case 3:
                task.session->answer(200, "picture");
                task.ended.acquire();
                model.deliver(shown + "Whole text|channel-1||picture");
        }
    }

    /// Lets two pushes and an end of time come about in this order: '1' and '2' are a step of the first and the second
    /// one, 'x' is the end of time of the first one's service.
    std::vector<std::string> expectedOf(const std::string& order, bool shareService) {
        std::vector<std::string> expected;
        Model models[] = {{{}, {}, expected}, {{}, {}, expected}};
        Task one("one"), two("two");
        const auto service = makeService();
        const auto second = shareService ? service : makeService();
        for (const char event : order) {
            if (event == '1') {
                takeStep(service, one, models[0]);
            } else if (event == '2') {
                takeStep(second, two, models[shareService ? 0 : 1]);
            } else {
                service->serviceExtensionTimeWillExpire();
                models[0].expire();
            }
        }
        return expected;
    }
};

TEST_F(PushNotificationServiceTest, AnswersOnceInEveryOrderOfEvents) {
    for (const bool shareService : {true, false}) {
        std::string order = "11112222x";
        do {
            SCOPED_TRACE(order + (shareService ? " of one service" : " of two services"));
            delivered.clear();
            const auto expected = expectedOf(order, shareService);
            ASSERT_EQ(delivered, expected);
        } while (std::next_permutation(order.begin(), order.end()));
    }
}

TEST_F(PushNotificationServiceTest, HandlersAreDestroyedBehindTheLock) {
    Task one("one"), two("two");
    const auto service = makeService();
    for (Task* task : {&one, &two}) starting.push(task);
    // Destroyed when the second request takes its place: the end of time that it then announces is the second one's.
    const UserNotifications::UNNotificationRequest empty{"", UNNotificationContent()};
    std::shared_ptr<void> atTheEnd(nullptr, [&](void*) { service->serviceExtensionTimeWillExpire(); });
    service->didReceive(empty, [atTheEnd = std::exchange(atTheEnd, nullptr)](const auto&) { FAIL(); });
    service->didReceive(empty, [&](const auto& content) { delivered.push_back(content.body()); });
    EXPECT_THAT(delivered, testing::ElementsAre(unverifiedText));
    for (Task* task : {&one, &two}) task->begin.release();
    for (Task* task : {&one, &two}) task->ended.acquire();
}

TEST_F(PushNotificationServiceTest, WhatIsThrownPastThePipelineEndsInTheBestContent) {
    std::binary_semaphore isOver{0};
    std::shared_ptr<PushNotificationService> service(
        new PushNotificationService([]() -> PushProcessor { throw std::bad_alloc(); }),
        [&](PushNotificationService* ended) { delete ended; isOver.release(); });
    service->didReceive({"", UNNotificationContent(content(message()))},
                        [&](const auto& content) { delivered.push_back(content.body()); });
    service.reset();
    isOver.acquire();
    EXPECT_THAT(delivered, testing::ElementsAre(unverifiedText));
    EXPECT_THAT(log.lines(), testing::ElementsAre("error The push pipeline stopped: <private>"));
}

struct PushNotificationServiceLongTest : PushFixture {};

TEST_F(PushNotificationServiceLongTest, AnswersOnceHoweverThreadsRace) {
    const auto atOnce = std::make_shared<AtOnce>();
    const PushProcessor racing{servers, {atOnce, {"service", {}}, {}}, atOnce};
    const UNNotificationContent pushed(content(message()));
    std::shared_ptr<PushNotificationService> service;
    std::atomic<int> answers[2];
    std::counting_semaphore<> ready[2] = {std::counting_semaphore<>(0), std::counting_semaphore<>(0)}, done(0);
    std::atomic<unsigned> pause = 0;
    std::atomic<bool> isOver = false;
    const auto receive = [&](std::size_t request) {
        service->didReceive({"", pushed}, [&answers, request](const auto&) { ++answers[request]; });
    };
    const auto racer = [&](std::size_t number, auto act) {
        return std::jthread([&, number, act] {
            for (ready[number].acquire(); !isOver; ready[number].acquire()) {
                for (unsigned i = 0; i < pause; ++i) std::this_thread::yield();
                act();
                done.release();
            }
        });
    };
    const std::jthread racers[] = {racer(0, [&] { service->serviceExtensionTimeWillExpire(); }),
                                   racer(1, [&] { receive(1); })};
    for (unsigned round = 0; round < 30'000; ++round) {
        answers[0] = answers[1] = 0;
        // Another moment in each round, over the length of a pipeline.
        pause = round * 7919 % 100;
        service = {new PushNotificationService([&] { return racing; }), [&](PushNotificationService* ended) {
                       delete ended;
                       done.release();
                   }};
        receive(0);
        for (auto& semaphore : ready) semaphore.release();
        for (int i = 0; i < 2; ++i) done.acquire();
        service.reset();
        done.acquire();
        ASSERT_LE(answers[0], 1) << round;
        ASSERT_EQ(answers[1], 1) << round;
    }
    isOver = true;
    for (auto& semaphore : ready) semaphore.release();
}

}  // namespace
