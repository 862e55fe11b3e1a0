#include "ChatPush/PushProcessor.h"

#include <functional>
#include <set>

#include "ChatPush/PushFixture.h"

using namespace UserNotifications;
using ChatPush::PushProcessor;
using testing::IsEmpty;
using enum DemoServer::Endpoint;

namespace {

struct PushProcessorTest : PushFixture {
    std::vector<UNMutableNotificationContent> updates;

    UNNotificationContent run(UNMutableNotificationContent content) {
        updates.clear();
        return processor.communicationContent(
            processor.prepare(std::move(content), [&](const auto& reached) { updates.push_back(reached); }));
    }
};

TEST_F(PushProcessorTest, AMessageWhoseTextComesFromTheServer) {
    server.addPost("post-1", {{"message", "Hello from Alice"}, {"channel_name", "Town Square"}});
    auto verified = content(message());
    const auto delivered = run(verified);
    verified.threadIdentifier = "channel-1";
    verified.categoryIdentifier = "CAN_REPLY";
    verified.userInfo["server_url"] = server.url();
    EXPECT_THAT(updates, testing::ElementsAre(verified, delivered.mutableCopy()));
    EXPECT_EQ(delivered.title() + ": " + delivered.body(), "Town Square: Hello from Alice");
    EXPECT_THAT(log.lines(), IsEmpty());
    const auto requests = server.received();
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_EQ(requests[1].headers.at("authorization"), "Bearer demo-session-token");
    EXPECT_EQ(requests[1].connection, requests[0].connection);
}

/// Every way in which the pipeline falls short: what is logged, and what is delivered all the same.
TEST_F(PushProcessorTest, EachFailureEndsInSomeContent) {
    /// The body, "verified", whether there are an intent and a picture, and the numbers of updates and of requests.
    using Result = std::tuple<std::string, std::string, bool, bool, std::size_t, std::size_t>;
    const Result rejected{unverifiedText, "false", false, false, 1, 0};
    const Result notAsked{message().body, "", true, false, 1, 1};  // but for the picture
    const Result withoutText{message().body, "", true, true, 1, 2};
    const Result withoutPicture{"x", "", true, false, 2, 2};
    using Arrange = std::function<void(DemoServer::Push&)>;
    const char* const unknown = "default A push from an unknown server or without a signature";
    const auto answer = [&](DemoServer::Endpoint endpoint, DemoServer::Behavior behavior) {
        return [=, this](DemoServer::Push&) { server.setBehavior(endpoint, behavior); };
    };
    const std::tuple<const char*, Arrange, Result, std::vector<std::string>> rows[] = {
        {"no container", [&](auto&) { processor.servers.reset(); }, rejected, {unknown}},
        {"unknown server", [](auto& push) { push.serverID = "x"; }, rejected, {unknown}},
        {"damaged record", [&](auto&) { Support::writeFile(servers.directory / "demo-server.json", "{}"); }, rejected,
         {"error Reading the server of a push failed: <private>", unknown}},
        {"not signed", [](auto& push) { push.isSigned = false; }, rejected, {unknown}},
        {"other device", [](auto& push) { push.deviceToken = "x"; }, rejected,
         {"default A push failed verification: deviceMismatch"}},
        {"no token", [&](auto&) { credentials.removeToken(url); }, notAsked, {}},
        {"secret store fails", [&](auto&) { Support::writeFile(directory / "keychain", std::string(4096, 'x')); },
         notAsked, {"error Reading the session token failed: Unable to decode the provided data."}},
        {"not acknowledged", answer(acknowledgement, {.status = 500}), withoutText,
         {"error Acknowledging a push failed: <private>"}},
        {"no message asked for", [](auto& push) { push.isIDLoaded = false; }, withoutText, {}},
        {"picture is 2xx, not 200", answer(userPicture, {.status = 203}), withoutPicture, {}},
        {"picture dropped", answer(userPicture, {.dropAfter = 100}), withoutPicture,
         {"default Loading the sender's avatar failed: The network connection was lost."}},
        {"picture empty", answer(userPicture, {.body = ""}), Result{"x", "", true, true, 2, 2}, {}},
        {"no sender", [&](auto& push) { push.senderID = ""; push.isIDLoaded = false; }, notAsked, {}},
        {"nobody takes donations", [](auto&) { Intents::setDonationSink({}); }, Result{"x", "", false, false, 2, 2},
         {"default The push stays a plain notification: The system takes no donations of interactions."}},
        {"an embedder's parts fail", [&](auto&) {
             const auto failing = std::make_shared<AtOnce>();
             failing->begin = [] { throw std::runtime_error("canary"); };
             processor = {servers, {failing, {}, {}}, failing};
             Intents::setDonationSink([failing](const auto&) { failing->begin(); });
         }, Result{message().body, "", false, false, 1, 0},
         {"error Reading the session token failed: <private>", "default Loading the sender's avatar failed: <private>",
          "default The push stays a plain notification: <private>"}}};
    for (const auto& [name, arrange, result, logged] : rows) {
        SCOPED_TRACE(name);
        processor.servers = servers;
        std::filesystem::remove(directory / "keychain");
        credentials.setToken(server.options().sessionToken, url);
        Support::writeFile(servers.directory / "demo-server.json", record().json());
        for (const auto endpoint : {acknowledgement, userPicture}) server.setBehavior(endpoint, {});
        server.addPost("post-1", {{"message", "x"}});
        server.forgetRequests();
        auto push = message();
        arrange(push);
        const auto delivered = run(content(push));

        EXPECT_EQ(log.lines(), logged);
        EXPECT_TRUE(logged.empty() || log.writer() == "com.norvane.tessel Push");
        EXPECT_EQ(Result(delivered.body(), Foundation::textOrEmpty(delivered.userInfo(), "verified"),
                         delivered.intent() != nullptr, delivered.intent() && delivered.intent()->sender.image,
                         updates.size(), server.received().size()), result);
    }
}

TEST_F(PushProcessorTest, OtherKindsKeepTheirPlaceAndThoseItKnowsAreAcknowledged) {
    for (const auto& [kind, requests] : {std::pair("clear", 1U), {"update_badge", 1U}, {"unknown", 0U}}) {
        SCOPED_TRACE(kind);
        server.forgetRequests();
        auto push = message();
        push.kind = kind;
        push.category = "own";
        const auto delivered = run(content(push));
        EXPECT_EQ(delivered.threadIdentifier() + delivered.categoryIdentifier() + delivered.body(), "own" + push.body);
        EXPECT_FALSE(delivered.intent());
        EXPECT_EQ(server.received().size(), requests);
        EXPECT_EQ(updates.size(), requests);
    }
}

TEST_F(PushProcessorTest, ThePayloadIsReadAgainOnlyBehindAnAcknowledgement) {
    const auto pushed = [&] { return processor.prepare(content(message()), [](const auto&) {}).push.value(); };
    server.addPost("post-1", {{"message", "x"}, {"sender_id", "bob"}});
    EXPECT_EQ(pushed().senderID, "bob");
    server.setBehavior(acknowledgement, {.status = 500});
    EXPECT_EQ(pushed().serverURL, url);
    credentials.removeToken(url);
    EXPECT_FALSE(pushed().serverURL);
    auto prepared = processor.prepare(content(message()), [](const auto&) {});
    prepared.server.reset();
    EXPECT_FALSE(processor.communicationContent(prepared).intent());
}

TEST_F(PushProcessorTest, TheTokenStaysWithItsHost) {
    DemoServer::Server other;
    auto push = message();
    push.overrideIconURL = other.url() + "/pictures/icon";
    EXPECT_TRUE(run(content(push)).intent()->sender.image);
    EXPECT_TRUE(other.received().back().headers.contains("authorization"));
    push.overrideIconURL.replace(push.overrideIconURL.find("127.0.0.1"), 9, "localhost");
    EXPECT_TRUE(run(content(push)).intent()->sender.image);
    EXPECT_FALSE(other.received().back().headers.contains("authorization"));
}

TEST_F(PushProcessorTest, APictureMayTakeAMinute) {
    const auto gated = std::make_shared<GatedSession>();
    processor.session = gated;
    for (const int status : {500, 404}) gated->answer(status);
    run(content(message()));
    (void)gated->requests.pop();
    EXPECT_EQ(gated->requests.pop().timeoutInterval, 60);
}

TEST_F(PushProcessorTest, TheTextIsInTheUsersLanguage) {
    ::unsetenv("LANGUAGE");
    std::set<std::string> texts;
    for (const char* language : {"xx", "de", "es", "fr", "it", "ja", "nl", "pt", "zh_CN"}) {
        ::setenv("LC_ALL", language, 1);
        EXPECT_TRUE(texts.insert(PushProcessor::unverifiedText()).second) << language;
    }
    EXPECT_TRUE(texts.contains(unverifiedText) && texts.contains("この通知をサーバで確認できませんでした。"));
}

}  // namespace
