#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "ChatPush/PushProcessor.h"
#include "DemoServer/Server.h"
#include "Intents/Intents.h"
#include "Support/Support.h"
#include "UserNotifications/UNNotificationServiceExtension.h"

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
        ::setenv("TESSEL_KEYCHAIN", ("file:" + (directory / "keychain").string()).c_str(), 1);
        Intents::setDonationSink([](const Intents::INInteraction&) {});
        servers.save(record());
        credentials.setToken(server.options().sessionToken, url);
    }
    ~PushFixture() override { Intents::setDonationSink({}); }

    ChatPlatform::SharedServer record() const {
        return {.url = url,
                .serverID = server.options().serverID,
                .signingKey = server.options().key.publicKey(),
                .userID = "me",
                .deviceToken = server.options().deviceToken};
    }

    /// A message push as it is sent when its text is withheld.
    static DemoServer::Push message() {
        DemoServer::Push push;
        push.ackID = "ack-1";
        push.postID = "post-1";
        push.channelID = "channel-1";
        push.senderID = "alice";
        push.senderName = "Alice";
        push.isIDLoaded = true;
        push.title = "Pushed title";
        push.body = "You have a new message.";
        return push;
    }

    /// The content that the platform makes of a push.
    UserNotifications::UNMutableNotificationContent content(const DemoServer::Push& push) const {
        UserNotifications::UNMutableNotificationContent content;
        content.title = push.title;
        content.body = push.body;
        content.categoryIdentifier = push.category;
        content.userInfo = Support::dictionary(server.push(push));
        return content;
    }
};

/// Takes contents as the platform does.
class Platform {
public:
    UserNotifications::ContentHandler handler(std::string name = "") {
        return [this, name = std::move(name)](UserNotifications::UNNotificationContent content) {
            const std::lock_guard lock(mutex_);
            contents_.emplace_back(name, std::move(content));
            changed_.notify_all();
        };
    }

    /// Waits for the next content, with the name of the handler that took it.
    std::pair<std::string, UserNotifications::UNNotificationContent> next() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return !contents_.empty(); });
        auto content = std::move(contents_.front());
        contents_.pop_front();
        return content;
    }

    bool hasMore() {
        const std::lock_guard lock(mutex_);
        return !contents_.empty();
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::pair<std::string, UserNotifications::UNNotificationContent>> contents_;
};
