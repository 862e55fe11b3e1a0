#include "ChatPush/PushProcessor.h"

#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ChatPush/PushFixture.h"

using ChatPush::PushProcessor;
using DemoServer::Endpoint;
using testing::ElementsAre;
using testing::IsEmpty;
using UserNotifications::UNMutableNotificationContent;
using UserNotifications::UNNotificationContent;

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
    server.addPost("post-1", {{"message", "Hello from Alice"}, {"channel_name", "Town Square"}, {"sender_id", "alice"}, {"sender_name", "Alice"}, {"team_id", "team-1"}, {"from_webhook", "false"}});
    const auto before = content(message());
    const auto delivered = run(before);

    ASSERT_EQ(updates.size(), 2U);
    EXPECT_EQ(updates[0].body, before.body);
    EXPECT_EQ(updates[0].title, before.title);
    EXPECT_EQ(updates[0].threadIdentifier, "channel-1");
    EXPECT_EQ(updates[0].categoryIdentifier, "CAN_REPLY");
    EXPECT_EQ(Foundation::textOrEmpty(updates[0].userInfo, "server_url"), server.url());
    EXPECT_EQ(updates[1], delivered.mutableCopy());
    EXPECT_EQ(delivered.body(), "Hello from Alice");
    EXPECT_EQ(delivered.title(), "Town Square");
    EXPECT_EQ(Foundation::textOrEmpty(delivered.userInfo(), "team_id"), "team-1");
    EXPECT_EQ(Foundation::textOrEmpty(delivered.userInfo(), "ack_id"), "ack-1");
    ASSERT_TRUE(delivered.intent());
    EXPECT_EQ(delivered.intent()->sender.displayName, "Town Square");
    EXPECT_EQ(delivered.intent()->sender.customIdentifier, "alice");
    EXPECT_EQ(delivered.intent()->content, "Hello from Alice");
    EXPECT_FALSE(delivered.intent()->sender.image->imageData.empty());
    EXPECT_THAT(log.lines(), IsEmpty());
    const auto requests = server.received();
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_EQ(requests[1].headers.at("authorization"), "Bearer demo-session-token");
    EXPECT_EQ(requests[1].connection, requests[0].connection);
}

/// Every way in which the pipeline falls short: what is logged, and what is delivered all the same.
TEST_F(PushProcessorTest, EachFailureEndsInSomeContent) {
    struct Row {
        const char* name;
        std::function<void(DemoServer::Push&)> arrange;
        std::vector<std::string> log;
        bool isVerified;
        std::size_t updates;
        std::size_t requests;
        bool hasImage;
        const char* body = "You have a new message.";
    };
    const char* const unknown = "default A push from an unknown server or without a signature";
    const char* const notReadable = "error Reading the server of a push failed: <private>";
    const char* const notAcknowledged = "error Acknowledging a push failed: <private>";
    const auto acknowledgement = [&](DemoServer::Behavior behavior) {
        return [&, behavior](DemoServer::Push&) { server.setBehavior(Endpoint::acknowledgement, behavior); };
    };
    const auto picture = [&](DemoServer::Behavior behavior) {
        return [&, behavior](DemoServer::Push&) { server.setBehavior(Endpoint::userPicture, behavior); };
    };
    const Row rows[] = {
        {"no container", [&](auto&) { processor.servers.reset(); }, {unknown}, false, 1, 0, false, unverifiedText},
        {"unknown server", [](auto& push) { push.serverID = "x"; }, {unknown}, false, 1, 0, false, unverifiedText},
        {"NUL in the identifier", [](auto& push) { push.serverID = std::string("demo-server.json\0", 17); }, {unknown},
         false, 1, 0, false, unverifiedText},
        {"damaged record", [&](auto&) { Support::writeFile(servers.directory / "demo-server.json", "{}"); },
         {notReadable, unknown}, false, 1, 0, false, unverifiedText},
        {"unreadable record", [](auto& push) { push.serverID = std::string(300, 'x'); }, {notReadable, unknown}, false, 1,
         0, false, unverifiedText},
        {"not signed", [](auto& push) { push.isSigned = false; }, {unknown}, false, 1, 0, false, unverifiedText},
        {"server does not sign", [](auto& push) { push.signature = "NO_SIGNATURE"; }, {unknown}, false, 1, 0, false,
         unverifiedText},
        {"foreign key", [](auto& push) { push.signature = DemoServer::SigningKey().token("ack-1", "demo-device-token"); },
         {"default A push failed verification: invalidSignature"}, false, 1, 0, false, unverifiedText},
        {"other device", [](auto& push) { push.deviceToken = "x"; },
         {"default A push failed verification: deviceMismatch"}, false, 1, 0, false, unverifiedText},
        {"no token", [&](auto&) { credentials.removeToken(url); }, {}, true, 1, 1, false},
        {"secret store fails", [&](auto&) { Support::writeFile(directory / "keychain", std::string(4096, 'x')); },
         {"error Reading the session token failed: " + std::string(ChatPlatform::CredentialStore::Failure(-26275).what())},
         true, 1, 1, false},
        {"acknowledgement refused", acknowledgement({.status = 500}), {notAcknowledged}, true, 1, 2, true},
        {"acknowledgement dropped", acknowledgement({.dropAfter = 40}), {notAcknowledged}, true, 1, 2, true},
        {"acknowledgement is garbage", acknowledgement({.body = "<html>"}), {notAcknowledged}, true, 1, 2, true},
        {"no message asked for", [](auto& push) { push.isIDLoaded = false; }, {}, true, 1, 2, true},
        {"picture refused", picture({.status = 404}), {}, true, 2, 2, false, "x"},
        {"picture is 2xx, not 200", picture({.status = 203}), {}, true, 2, 2, false, "x"},
        {"picture dropped", picture({.dropAfter = 100}),
         {"default Loading the sender's avatar failed: The network connection was lost."}, true, 2, 2, false, "x"},
        {"picture empty", picture({.body = ""}), {}, true, 2, 2, true, "x"},
        {"no sender", [&](auto& push) { push.senderID = ""; push.isIDLoaded = false; }, {}, true, 1, 1, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        processor.servers = servers;
        std::filesystem::remove(directory / "keychain");
        credentials.setToken(server.options().sessionToken, url);
        Support::writeFile(servers.directory / "demo-server.json", record().json());
        server.setBehavior(Endpoint::acknowledgement, {});
        server.setBehavior(Endpoint::userPicture, {});
        server.addPost("post-1", {{"message", "x"}});
        server.forgetRequests();
        auto push = message();
        row.arrange(push);
        const auto logged = log.lines().size();
        const auto delivered = run(content(push));

        const auto lines = log.lines();
        EXPECT_EQ(std::vector(lines.begin() + static_cast<std::ptrdiff_t>(logged), lines.end()), row.log);
        EXPECT_EQ(delivered.body(), row.body);
        EXPECT_EQ(delivered.title(), row.isVerified ? "Pushed title" : "");
        EXPECT_EQ(delivered.categoryIdentifier(), row.isVerified ? "CAN_REPLY" : "");
        EXPECT_EQ(Foundation::textOrEmpty(delivered.userInfo(), "verified"), row.isVerified ? "" : "false");
        EXPECT_EQ(delivered.intent() != nullptr, row.isVerified);
        EXPECT_EQ(delivered.intent() && delivered.intent()->sender.image, row.hasImage);
        EXPECT_EQ(updates.size(), row.updates);
        EXPECT_EQ(server.received().size(), row.requests);
    }
}

TEST_F(PushProcessorTest, NoPayloadIsLeftAlone) {
    UNMutableNotificationContent other;
    other.title = "T";
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
        EXPECT_EQ(delivered.threadIdentifier(), "");
        EXPECT_EQ(delivered.categoryIdentifier(), "own");
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
    server.setBehavior(Endpoint::acknowledgement, {.status = 500});
    EXPECT_EQ(pushed().serverURL, url);
    credentials.removeToken(url);
    EXPECT_FALSE(pushed().serverURL);
}

TEST_F(PushProcessorTest, TheTokenStaysWithItsHost) {
    DemoServer::Server other;
    auto push = message();
    push.isIDLoaded = false;
    const std::string path = other.url().substr(std::string("http://127.0.0.1").size()) + "/pictures/icon";
    for (const auto& [icon, expected] : {std::pair("http://127.0.0.1" + path, true), {"http://localhost" + path, false}}) {
        SCOPED_TRACE(icon);
        push.overrideIconURL = icon;
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
    EXPECT_THAT(log.lines(),
                ElementsAre("default The push stays a plain notification: The system takes no donations of interactions."));
}

TEST_F(PushProcessorTest, TheTextIsInTheUsersLanguage) {
    ::unsetenv("LC_ALL");
    for (const auto& [language, text] : {std::pair("ja", "この通知をサーバで確認できませんでした。"),
                                         {"xx", unverifiedText}}) {
        ::setenv("LANGUAGE", language, 1);
        ::setenv("LANG", "en_US.UTF-8", 1);
        EXPECT_EQ(PushProcessor::unverifiedText(), text);
    }
    ::unsetenv("LANGUAGE");
}

}  // namespace
