#include "ExtensionHost/Host.h"

#include <future>

#include "ExtensionHost/ContentJSON.h"
#include "Support/Support.h"

using namespace ExtensionHost;
using namespace std::chrono_literals;
using namespace UserNotifications;

namespace {

auto titled(const std::string& title) { return UNNotificationContent({title, "", "", "", "", {}, {}, {}}); }

/// An extension that does what a test says.
struct Scripted final : Host::Service {
    using Script = std::function<void(Scripted&, const UNNotificationRequest&, const ContentHandler&)>;

    explicit Scripted(Script toPlay) : script(std::move(toPlay)) {}
    void didReceive(const UNNotificationRequest& request, ContentHandler handler) override {
        script(*this, request, handler);
    }
    void serviceExtensionTimeWillExpire() override { onExpire(); }

    Script script;
    std::function<void()> onExpire = [] {};
};

Push push(std::size_t index) { return {index, Support::dictionary(R"({"aps":{"alert":"own"}})")}; }

struct HostTest : testing::Test {
    std::vector<DeliveredPush> delivered;
    Scripted::Script script;
    Support::LogRecorder log;

    /// A host that has delivered this many pushes.
    std::unique_ptr<Host> finished(std::size_t count, Host::Options options = {}) {
        auto host = std::make_unique<Host>(options, [this] { return std::make_unique<Scripted>(script); },
                                           [this](const DeliveredPush& push) { delivered.push_back(push); });
        for (std::size_t i = 0; i < count; ++i) EXPECT_TRUE(host->receive(push(i)));
        host->finish();
        return host;
    }
};

TEST_F(HostTest, DeliversEachRequestOnceWhateverTheExtensionDoes) {
    ContentHandler late;
    script = [&late](auto& service, const auto& request, const auto& handler) {
        EXPECT_EQ(request.content.body(), "own");
        const auto intent = std::make_shared<const Intents::INSendMessageIntent>();
        if (request.identifier == "0") {
            Intents::INInteraction{intent}.donate();
            handler(titled("first").updating(intent));
            handler(titled("second"));
        }
        if (request.identifier == "4") handler(titled("before the fault"));
        if (request.identifier == "1" || request.identifier == "4") throw std::runtime_error("canary");
        if (request.identifier == "2") service.onExpire = [handler] { handler(titled("in time")); };
        if (request.identifier == "3") late = handler;
    };
    const auto running = finished(5, {.timeLimit = 0.01s, .grace = 30ms});
    late(titled("too late"));
    std::vector<std::tuple<std::size_t, Delivery, std::string, bool>> outcomes;
    for (const auto& push : delivered)
        outcomes.emplace_back(push.index, push.delivery, push.content.title() + push.content.body(), push.wasDonated);
    const decltype(outcomes) expected = {{0, Delivery::completed, "first", true}, {1, Delivery::none, "own", false},
                                         {2, Delivery::expired, "in time", false}, {3, Delivery::none, "own", false},
                                         {4, Delivery::completed, "before the fault", false}};
    EXPECT_EQ(outcomes, expected);
    EXPECT_LE(delivered[2].time, 1s);
    EXPECT_GE(delivered[3].time, 30ms);
    const auto lost = "error The extension answered a request that had been delivered";
    const auto refused = "error The extension did not take a request: <private>";
    EXPECT_THAT(log.lines(), testing::ElementsAre(lost, refused, refused, lost));
}

TEST_F(HostTest, AsManyAtOnceAsThereAreJobs) {
    Support::Queue<ContentHandler> pending;
    script = [&](auto&, const auto&, const auto& handler) { pending.push(handler); };
    const auto running = finished(0, {.jobs = 2});
    const auto input = std::async(std::launch::async, [&] { for (auto i : {0, 1, 2}) running->receive(push(i)); });
    const auto zero = pending.pop(), one = pending.pop();
    EXPECT_EQ(input.wait_for(20ms), std::future_status::timeout);
    one(titled(""));
    pending.pop()(titled(""));
    zero(titled(""));
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
    EXPECT_EQ(next.wait_for(20ms), std::future_status::timeout);
    // The task ends behind the access to the list, which the next one is put into.
    (void)std::exchange(tasks[0], nullptr);
    EXPECT_TRUE(next.get());
}

TEST(ContentOfPush, TheAlertIsReadLeniently) {
    const std::pair<const char*, UNMutableNotificationContent> rows[] = {
        {R"({"aps":{"alert":{"title":"t","subtitle":"s","body":"b"},"badge":3.0,"sound":"x","thread-id":"h",)"
         R"("category":"c"}})", {"t", "s", "b", "h", "c", 3, "x", {}}},
        {R"({"aps":{"alert":"body","badge":"3","sound":{},"category":5}})", {"", "", "body", "", "", {}, {}, {}}},
        {R"({"aps":{"alert":{"title":5,"body":null},"badge":true}})", {}}, {R"({"aps":[]})", {}}, {"{}", {}}};
    for (auto [payload, expected] : rows) {
        expected.userInfo = Support::dictionary(payload);
        EXPECT_EQ(contentOfPush(Support::dictionary(payload)), expected) << payload;
    }
}

}  // namespace
