#pragma once

#include "ChatPlatform/KeychainItems.h"
#include "ChatPush/PushProcessor.h"
#include "DemoServer/Server.h"
#include "Intents/Intents.h"
#include "Support/Support.h"
#include "UserNotifications/UNNotificationServiceExtension.h"

/// A message, but for what the members, each behind a comma, say.
inline ChatModel::PushPayload payload(const std::string& members) {
    return ChatModel::PushPayload::make(Support::dictionary(R"({"type":"message")" + members + "}")).value();
}

/// A session whose answers a test gives when it wants to: a request waits until it is answered.
struct GatedSession final : Foundation::URLSession {
    using Answer = std::pair<Foundation::Data, Foundation::HTTPURLResponse>;
    Support::Queue<Foundation::URLRequest> requests;
    Support::Queue<Answer> answers;

    Answer data(const Foundation::URLRequest& request) override {
        requests.push(request);
        return answers.pop();
    }
    void answer(int status, const std::string& body = "") { answers.push({Foundation::bytes(body), {status}}); }
};

/// A keychain and a server that answer at once, or fail at once as an embedder's may.
struct AtOnce final : ChatPlatform::KeychainItems, Foundation::URLSession {
    using Location = ChatPlatform::CredentialStore::Location;
    std::function<void()> begin = [] {};
    std::optional<Foundation::Data> read(const Location&, const std::string&) const override {
        begin();
        return Foundation::bytes("token");
    }
    void write(const Foundation::Data&, const Location&, const std::string&) const override {}
    void remove(const Location&, const std::string&) const override {}
    std::pair<Foundation::Data, Foundation::HTTPURLResponse> data(const Foundation::URLRequest&) override {
        begin();
        return {Foundation::bytes(R"({"message":"Whole text"})"), {200}};
    }
};

/// A chat server on loopback to which a user is signed in, with a real store of records and of secrets, a system
/// that takes donations, and the log.
struct PushFixture : testing::Test {
    static constexpr const char* unverifiedText = "We could not verify this notification with the server.";

    Support::TemporaryDirectory directory;
    DemoServer::Server server;
    Support::LogRecorder log;
    ChatPlatform::SharedServerStore servers{directory / "Servers"};
    Foundation::URL url = *Foundation::URL::parse(server.url());
    ChatPlatform::CredentialStore credentials{"group"};
    ChatPush::PushProcessor processor{servers, credentials, Foundation::URLSession::shared()};

    PushFixture() {
        ::setenv("LC_ALL", "C", 1);
        ::setenv("no_proxy", "*", 1);
        ::setenv("TESSEL_KEYCHAIN", ("file:" + (directory / "keychain").string()).c_str(), 1);
        Intents::setDonationSink([](const Intents::INInteraction&) {});
        servers.save(record());
        credentials.setToken(server.options().sessionToken, url);
    }
    ~PushFixture() override { Intents::setDonationSink({}); }

    ChatPlatform::SharedServer record() const {
        const auto& options = server.options();
        return {url, options.serverID, options.key.publicKey(), "me", options.deviceToken};
    }

    /// A message push as it is sent when its text is withheld.
    static DemoServer::Push message() {
        return {.ackID = "ack-1", .postID = "post-1", .channelID = "channel-1", .senderID = "alice",
                .senderName = "Alice", .isIDLoaded = true, .title = "Pushed title", .body = "You have a new message."};
    }

    /// The content that the platform makes of a push.
    UserNotifications::UNMutableNotificationContent content(const DemoServer::Push& push) const {
        return {push.title, "", push.body, "", push.category, {}, {}, Support::dictionary(server.push(push))};
    }
};
