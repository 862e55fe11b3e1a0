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
    const auto before = content(message());
    const auto delivered = run(before);

    ASSERT_EQ(updates.size(), 2U);
    EXPECT_EQ(updates[0].body + updates[0].title, before.body + before.title);
    EXPECT_EQ(updates[0].threadIdentifier, "channel-1");
    EXPECT_EQ(Foundation::textOrEmpty(updates[0].userInfo, "server_url"), server.url());
    EXPECT_EQ(updates[1], delivered.mutableCopy());
    EXPECT_EQ(delivered.body(), "Hello from Alice");
    EXPECT_EQ(delivered.title(), "Town Square");
    ASSERT_TRUE(delivered.intent());
    EXPECT_EQ(delivered.intent()->sender.displayName, "Town Square");
    EXPECT_FALSE(delivered.intent()->sender.image->imageData.empty());
    EXPECT_THAT(log.lines(), IsEmpty());
    const auto requests = server.received();
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_EQ(requests[1].headers.at("authorization"), "Bearer demo-session-token");
    EXPECT_EQ(requests[1].connection, requests[0].connection);
}

/// Every way in which the pipeline falls short: what is logged, and what is delivered all the same.
TEST_F(PushProcessorTest, EachFailureEndsInSomeContent) {
    struct Result {
        bool isVerified, hasImage;
        std::size_t updates, requests;
        const char* body;
    };
    const char* const body = "You have a new message.";
    const Result rejected{false, false, 1, 0, unverifiedText};
    const Result notAsked{true, false, 1, 1, body};      // but for the picture
    const Result withoutText{true, true, 1, 2, body};
    const Result withoutPicture{true, false, 2, 2, "x"};
    using Arrange = std::function<void(DemoServer::Push&)>;
    const char* const unknown = "default A push from an unknown server or without a signature";
    const char* const notReadable = "error Reading the server of a push failed: <private>";
    const char* const notAcknowledged = "error Acknowledging a push failed: <private>";
    const std::string noToken = ChatPlatform::CredentialStore::Failure(-26275).what();
    const std::string foreign = DemoServer::SigningKey().token("ack-1", "demo-device-token");
    const auto answer = [&](DemoServer::Endpoint endpoint, DemoServer::Behavior behavior) {
        return [=, this](DemoServer::Push&) { server.setBehavior(endpoint, behavior); };
    };
    const std::tuple<const char*, Arrange, Result, std::vector<std::string>> rows[] = {
        {"no container", [&](auto&) { processor.servers.reset(); }, rejected, {unknown}},
        {"unknown server", [](auto& push) { push.serverID = "x"; }, rejected, {unknown}},
        {"damaged record", [&](auto&) { Support::writeFile(servers.directory / "demo-server.json", "{}"); }, rejected,
         {notReadable, unknown}},
        {"not signed", [](auto& push) { push.isSigned = false; }, rejected, {unknown}},
        {"foreign key", [&](auto& push) { push.signature = foreign; }, rejected,
         {"default A push failed verification: invalidSignature"}},
        {"other device", [](auto& push) { push.deviceToken = "x"; }, rejected,
         {"default A push failed verification: deviceMismatch"}},
        {"no token", [&](auto&) { credentials.removeToken(url); }, notAsked, {}},
        {"secret store fails", [&](auto&) { Support::writeFile(directory / "keychain", std::string(4096, 'x')); },
         notAsked, {"error Reading the session token failed: " + noToken}},
        {"refused", answer(acknowledgement, {.status = 500}), withoutText, {notAcknowledged}},
        {"dropped", answer(acknowledgement, {.dropAfter = 40}), withoutText, {notAcknowledged}},
        {"garbage", answer(acknowledgement, {.body = "<html>"}), withoutText, {notAcknowledged}},
        {"no message asked for", [](auto& push) { push.isIDLoaded = false; }, withoutText, {}},
        {"picture refused", answer(userPicture, {.status = 404}), withoutPicture, {}},
        {"picture is 2xx, not 200", answer(userPicture, {.status = 203}), withoutPicture, {}},
        {"picture dropped", answer(userPicture, {.dropAfter = 100}), withoutPicture,
         {"default Loading the sender's avatar failed: The network connection was lost."}},
        {"picture empty", answer(userPicture, {.body = ""}), {true, true, 2, 2, "x"}, {}},
        {"no sender", [&](auto& push) { push.senderID = ""; push.isIDLoaded = false; }, notAsked, {}}};
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
        EXPECT_EQ(delivered.body(), result.body);
        EXPECT_EQ(Foundation::textOrEmpty(delivered.userInfo(), "verified"), result.isVerified ? "" : "false");
        EXPECT_EQ(delivered.intent() != nullptr, result.isVerified);
        EXPECT_EQ(delivered.intent() && delivered.intent()->sender.image, result.hasImage);
        EXPECT_EQ(updates.size(), result.updates);
        EXPECT_EQ(server.received().size(), result.requests);
    }
}

TEST_F(PushProcessorTest, NoPayloadIsLeftAlone) {
    UNMutableNotificationContent other;
    other.userInfo = Support::dictionary(R"({"type":"unknown","server_id":"demo-server"})");
    const auto delivered = run(other);
    EXPECT_EQ(delivered.mutableCopy(), other);
    EXPECT_THAT(updates, IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(PushProcessorTest, OtherKindsAreAcknowledgedAndKeepTheirPlace) {
    for (const char* kind : {"clear", "update_badge", "session", "test"}) {
        SCOPED_TRACE(kind);
        server.forgetRequests();
        auto push = message();
        push.kind = kind;
        push.category = "own";
        const auto delivered = run(content(push));
        EXPECT_EQ(delivered.threadIdentifier() + delivered.categoryIdentifier(), "own");
        EXPECT_EQ(delivered.body(), push.body);
        EXPECT_FALSE(delivered.intent());
        ASSERT_EQ(server.received().size(), 1U);
        EXPECT_THAT(server.received()[0].body, testing::HasSubstr(std::string(R"("type":")") + kind));
    }
}

TEST_F(PushProcessorTest, ThePayloadIsReadAgainOnlyBehindAnAcknowledgement) {
    const auto pushed = [&] { return processor.prepare(content(message()), [](const auto&) {}).push.value(); };
    server.addPost("post-1", {{"message", "x"}, {"sender_id", "bob"}});
    EXPECT_EQ(pushed().senderID, "bob");
    EXPECT_EQ(pushed().serverURL, url);
    server.setBehavior(acknowledgement, {.status = 500});
    EXPECT_EQ(pushed().serverURL, url);
    credentials.removeToken(url);
    EXPECT_FALSE(pushed().serverURL);
}

TEST_F(PushProcessorTest, TheTokenStaysWithItsHost) {
    DemoServer::Server other;
    auto push = message();
    push.isIDLoaded = false;
    const std::string path = other.url().substr(std::string("http://127.0.0.1").size()) + "/pictures/icon";
    for (const auto& [host, expected] : {std::pair("http://127.0.0.1", true), {"http://localhost", false}}) {
        SCOPED_TRACE(host);
        push.overrideIconURL = host + path;
        const auto delivered = run(content(push));
        EXPECT_TRUE(delivered.intent()->sender.image);
        EXPECT_EQ(other.received().back().headers.contains("authorization"), expected);
    }
}

TEST_F(PushProcessorTest, WithoutDonationsItStaysPlain) {
    Intents::setDonationSink({});
    const auto delivered = run(content(message()));
    EXPECT_FALSE(delivered.intent());
    EXPECT_EQ(delivered.mutableCopy(), updates.back());
    EXPECT_THAT(log.lines(), testing::ElementsAre("default The push stays a plain notification: "
                                                  "The system takes no donations of interactions."));
}

TEST_F(PushProcessorTest, TheTextIsInTheUsersLanguage) {
    ::unsetenv("LC_ALL");
    ::setenv("LANG", "en_US.UTF-8", 1);
    std::set<std::string> texts;
    for (const char* language : {"xx", "de", "es", "fr", "it", "ja", "nl", "pt", "zh_CN"}) {
        ::setenv("LANGUAGE", language, 1);
        EXPECT_TRUE(texts.insert(PushProcessor::unverifiedText()).second) << language;
    }
    EXPECT_TRUE(texts.contains(unverifiedText) && texts.contains("この通知をサーバで確認できませんでした。"));
    ::unsetenv("LANGUAGE");
}

}  // namespace
