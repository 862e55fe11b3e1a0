#include "Desktop/DesktopFixture.h"
#include "Desktop/ExtensionProcess.h"

// The service that a push distributor hands pushes to: starved, killed, and answered.

using testing::AllOf;
using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

struct ServiceTest : DesktopTest {
    std::optional<PushDistributor> distributor{std::in_place};
    std::size_t starts = 0;

    /// Starts the service; the token that it registers.
    std::string serve(const std::string& idle = "60") {
        desktop({"--idle", idle});
        return distributor->token(starts++);
    }
    bool hasKept(const std::vector<std::string>& files, std::chrono::seconds bound = std::chrono::seconds(40)) const {
        return eventually([&] { return kept() == files; }, bound);
    }
};
struct ServiceLongTest : ServiceTest {};

TEST_F(ServiceTest, HasEitherVersionsDistributorTellTheEndpoint) {
    NotificationServer notifications;
    std::string token;
    for (const int version : {2, 1}) {
        SCOPED_TRACE(version);
        distributor.reset(), distributor.emplace(version), starts = 0;
        const std::string url = "https://push.example/" + std::to_string(version);
        if (token.empty()) token = serve();
        else EXPECT_EQ(serve(), token);
        distributor->endpoint(token, url);
        distributor->endpoint(token, "file:///etc/passwd");
        distributor->endpoint("unknown", "https://push.example/other");
        EXPECT_TRUE(hasLogged("no address of the web"));
        distributor->unregistered("");
        distributor->unregistered("unknown");
        EXPECT_TRUE(eventually([&] { return std::ranges::count(errors(), '\n') == 2; })) << errors();
        EXPECT_EQ(kill(SIGTERM), 0);
        EXPECT_EQ(tessel({"endpoint"}).output, url + '\n');
        EXPECT_EQ(serve(), token);
        distributor->unregistered(token);
        EXPECT_TRUE(eventually([&] { return Support::readFile(directory / "state/tessel/registration.json").find(url) == std::string::npos; }));
        kill(SIGTERM);
    }
}

TEST_F(ServiceTest, AsksUntilADistributorTakesTheRegistration) {
    distributor.reset(), distributor.emplace(2, std::deque<std::string>{"NETWORK"});
    Support::writeFile(directory / "state/tessel/registration.json", "{");
    const auto token = serve("0.2");
    EXPECT_THAT(errors(), HasSubstr("The registration is not understood, and made anew"));
    EXPECT_THAT(errors(), HasSubstr("org.unifiedpush.Distributor.test did not take the registration: NETWORK"));
    EXPECT_EQ(end(), 0);

    distributor.reset();
    desktop({"--idle", "60"});
    EXPECT_TRUE(hasLogged("There is no push distributor"));
    distributor.emplace(2, std::deque<std::string>{""});
    EXPECT_TRUE(hasLogged("did not take the registration: no reason given\n"));
    distributor.reset(), distributor.emplace();
    EXPECT_EQ(distributor->token(), token);
    distributor->endpoint(token, "https://push.example/late");
    EXPECT_EQ(tessel({"endpoint"}).output, "https://push.example/late\n");
    environment["XDG_STATE_HOME"] = "relative";
    EXPECT_THAT(tessel({"endpoint"}).errors, HasSubstr("neither XDG_STATE_HOME nor HOME"));
}

TEST_F(ServiceTest, ShowsTheMessagesOfEitherVersion) {
    NotificationServer notifications({"body"});
    for (const int version : {2, 1}) {
        SCOPED_TRACE(version);
        distributor.reset(), distributor.emplace(version), starts = 0;
        const auto token = serve();
        const std::string body = "of version " + std::to_string(version);
        distributor->message("unknown", message("not ours"));
        for (const std::string& garbage : {std::string("\0\xff", 2), std::string("[1]"), std::string(), message("x") + "{"})
            distributor->message(token, garbage);
        distributor->message(token, message(body));
        EXPECT_TRUE(eventually([&] { return bodies(notifications).size() == std::size_t(3 - version); }));
        EXPECT_EQ(bodies(notifications).back(), body);
        EXPECT_TRUE(hasKept({}));
        EXPECT_THAT(errors(), HasSubstr("token that is not known"));
        EXPECT_EQ(std::ranges::count(errors(), '\n'), 5) << errors();
        EXPECT_EQ(run({TESSEL_DESKTOP}).status, 3);  // there is one service alone
        EXPECT_THAT(errors(), HasSubstr("another process already serves"));
        EXPECT_EQ(kill(SIGTERM), 0);
    }
}

TEST_F(ServiceTest, LosesNothingThatItHasTakenAndShowsNothingTwice) {
    // What could not be shown is the service's to show.
    environment["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=/nowhere";
    show(message("1"));
    EXPECT_EQ(end(), 3);
    environment.erase("DBUS_SESSION_BUS_ADDRESS");

    const auto token = serve(), two = message("2");
    for (const auto& push : {two, message("3")})
        distributor->message(token, push);
    kill(SIGKILL);
    EXPECT_THAT(kept(), ElementsAre(".json", ".json", ".json"));
    // It may have ended before it wrote down what it had taken; and there may be what nobody can read.
    std::filesystem::remove(directory / "state/tessel/messages.json");
    for (const char* unreadable : {"spool/service/0.json", "spool/service/0.error", "messages.json"})
        std::filesystem::create_directory(directory / "state/tessel" / unreadable);

    NotificationServer notifications({"body"}, true);
    serve();
    std::filesystem::remove(directory / "state/tessel/messages.json");
    distributor->message(token, two);
    EXPECT_EQ(notifications.next().body, "1");
    kill(SIGKILL);  // whether it was shown, this one cannot know
    serve();
    EXPECT_EQ(notifications.next(1).body, "2");
    EXPECT_THAT(errors(), HasSubstr("not shown again"));
    EXPECT_EQ(kill(SIGTERM), 0);  // nor can this one, for all its waiting
    serve();
    notifications.release();
    EXPECT_EQ(notifications.next(2).body, "3");
    EXPECT_TRUE(hasKept({}));
    // The distributor may miss an acknowledgement, whatever it says of other messages.
    const auto four = message("4"), five = message("5");
    for (const auto& push : {four, four, five}) distributor->message(token, push);
    EXPECT_EQ(notifications.next(4).body, "5");
    kill(SIGTERM), serve();
    for (const auto& push : {five, four, message("6")}) distributor->message(token, push);
    EXPECT_EQ(notifications.next(5).body, "6");
    EXPECT_THAT(bodies(notifications), ElementsAre("1", "2", "3", "4", "5", "6"));
    const std::vector<std::uint8_t> bytes{'{', '}'};
    for (const Values& values : {Values{{"token", token}, {"message", bytes}, {"id", true}}, {{"token", token}, {"message", std::string("{}")}}})
        EXPECT_THAT([&] { distributor->call(values, "Message"); }, testing::ThrowsMessage<sdbus::Error>(HasSubstr("is of another type")));

    // What cannot be kept is not acknowledged, and costs the service nothing else.
    std::filesystem::remove_all(spool);
    EXPECT_THROW(distributor->message(token, message("7")), sdbus::Error);
    EXPECT_EQ(kill(SIGTERM), 0);
}

TEST_F(ServiceTest, TakesTheUsersAnswersToTheClient) {
    NotificationServer notifications;
    const auto token = serve();
    for (const char* channel : {"a", "b"}) distributor->message(token, message("Hello", channel, {.category = "CAN_REPLY"}));
    std::map<std::string, std::uint32_t> numbers;
    for (const std::size_t place : {0U, 1U}) numbers[notifications.next(place).summary] = notifications.next(place).number;
    ASSERT_THAT(numbers, SizeIs(2));
    const auto a = numbers["a"], b = numbers["b"];

    {
        // The client hangs, or is long in starting, when this process ends.
        const auto client = sdbus::createSessionBusConnection("com.norvane.tessel");
        notifications.tell("NotificationReplied", a, std::string("Kept"));
        EXPECT_TRUE(hasKept({".error"}, std::chrono::seconds(15)));  // the call has not failed by then
        kill(SIGKILL), serve();
        EXPECT_EQ(notifications.next(2).body, "Kept");
        EXPECT_TRUE(hasKept({}));
    }
    // There is no client: the user reads what they have written, whole, even if it can be shown to them only later.
    std::string text = "SECRET <";
    for (int i = 0; i < 3000; ++i) text += 'x';
    notifications.hold();
    notifications.tell("NotificationReplied", a, text);
    for (const std::size_t place : {3U, 4U}) {
        const auto error = notifications.next(place);
        EXPECT_EQ(error.summary, "Your reply was not sent");
        EXPECT_EQ(error.body, "SECRET &lt;" + text.substr(8));
        EXPECT_EQ(error.timeout, 0);
        EXPECT_THAT(errors(), AnyOf(IsEmpty(), AllOf(HasSubstr("did not take an answer"), Not(HasSubstr("SECRET")))));
        if (place == 3) kill(SIGKILL), serve();
    }
    notifications.release();
    EXPECT_TRUE(hasKept({}));
    notifications.tell("ActionInvoked", a, std::string("default"));
    EXPECT_EQ(notifications.next(5).summary, "Tessel could not be opened");

    ChatClient client;
    std::size_t calls = 0;
    const auto pushed = [&](const std::string& channel) {
        return "channel_id=" + channel + " is_crt_enabled=0 post_id=post-Hello sender_id=ada server_id=demo-server "
               "server_url=" + server.url() + ' ';
    };
    notifications.tell("ActionInvoked", 77, std::string("default"));
    notifications.tell("ActionInvoked", a, std::string("other"));
    notifications.tell("ActivationToken", a, std::string("T"));
    notifications.tell("ActionInvoked", a, std::string("default"));
    EXPECT_EQ(client.next(calls++), "open: " + pushed("a") + "type=message | activation-token=T desktop-startup-id=T ");
    notifications.tell("ActivationToken", a, std::string("T"));
    notifications.tell("ActionInvoked", b, std::string("REPLY"));
    EXPECT_EQ(client.next(calls++), "REPLY: " + pushed("b") + "type=message | ");  // the token was another's
    notifications.tell("NotificationClosed", a, std::uint32_t{2});
    notifications.tell("NotificationReplied", a, std::string("Hi"));  // some servers tell it behind the end
    EXPECT_EQ(client.next(calls++), "REPLY: " + pushed("a") + "text=Hi type=message | ");

    // What another process has shown can be answered, too.
    kill(SIGKILL);
    serve();
    distributor->message(token, message("Later", "c"));
    notifications.next(6);
    notifications.tell("NotificationReplied", a, std::string("It was closed"));
    notifications.tell("NotificationReplied", b, std::string("Yes"));
    EXPECT_EQ(client.next(calls++), "REPLY: " + pushed("b") + "text=Yes type=message | ");
}

TEST_F(ServiceTest, TakesAnotherServersNumbersForOtherNotifications) {
    std::optional<NotificationServer> notifications(std::in_place);
    const ChatClient client;
    const auto token = serve();
    distributor->message(token, message("Old"));
    const auto number = notifications->next().number;
    notifications.emplace();
    notifications->tell("ActionInvoked", number, std::string("default"));
    distributor->message(token, message("New"));
    EXPECT_EQ(notifications->next().number, number);
    EXPECT_EQ(notifications->next().replaced, 0);
    notifications->tell("ActionInvoked", number, std::string("default"));
    EXPECT_THAT(client.next(), HasSubstr("post_id=post-New"));
}

TEST_F(ServiceTest, LetsAnExtensionThatHangsHoldUpNoOtherChannel) {
    extend("#!/bin/sh\ngrep -q hang \"$5\" || exec '" TESSEL_EXTENSION "' \"$@\"\necho $$ > '" +
           (directory / "hung").string() + "'; exec sleep 1000\n");
    NotificationServer notifications({"body"});
    const auto token = serve();
    for (const char* body : {"hang", "after it"}) distributor->message(token, message(body, "a"));
    for (const char* body : {"1", "2", "3"}) distributor->message(token, message(body, "b"));
    EXPECT_EQ(notifications.next(2).body, "3");
    EXPECT_TRUE(hasKept({".json", ".json"}));
    EXPECT_EQ(kill(SIGTERM), 0);
    EXPECT_THAT(kept(), SizeIs(2));
    EXPECT_THAT(bodies(notifications), SizeIs(3));
    EXPECT_FALSE(std::filesystem::exists("/proc/" + std::to_string(std::stoi(Support::readFile(directory / "hung")))));

    Desktop::EventLoop loop;
    Support::LogRecorder log;
    std::optional<std::string> line = "none yet";
    const auto program = directory / "other.appex/Contents/MacOS/TesselMacNotificationService";
    Support::writeFile(directory / "push", "hang");
    const Desktop::ExtensionProcess process(loop, program, directory / "push", [&](auto written) {
        line = std::move(written);
        loop.leave();
    }, std::chrono::milliseconds(10));
    loop.run();
    EXPECT_EQ(line, std::nullopt);
    EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("did not answer in time")));
}

TEST_F(ServiceLongTest, EndsOnceNothingIsLeftToDo) {
    serve("0.1");
    EXPECT_EQ(end(), 0);
    NotificationServer notifications;
    const auto token = serve("0.1");
    distributor->message(token, message("Hello"));
    const auto number = notifications.next().number;
    EXPECT_FALSE(eventually([&] { return hasEnded(); }, std::chrono::seconds(1)));  // it may still be answered
    notifications.tell("NotificationClosed", number, std::uint32_t{1});
    EXPECT_EQ(end(), 0);
}

TEST_F(ServiceLongTest, TakesABurst) {
    NotificationServer notifications;
    const auto token = serve();
    std::map<std::string, std::vector<std::string>> sent, shown;
    for (int i = 0; i < 200; ++i) {
        const std::string channel = "channel " + std::to_string(i % 7);
        sent[channel].push_back(std::to_string(i));
        distributor->message(token, message(std::to_string(i), channel));
    }
    EXPECT_TRUE(eventually([&] { return notifications.shown().size() == 200; }, std::chrono::seconds(100)));
    for (const auto& one : notifications.shown()) shown[one.summary].push_back(one.body);
    EXPECT_EQ(shown, sent);
    EXPECT_TRUE(hasKept({}));
    EXPECT_EQ(errors(), "");
}

}  // namespace
