// A program of its own that runs the push pipeline: with its own network, secrets, donations and clock in the places of
// the platform's.
#include <chrono>
#include <cstdlib>
#include <exception>
#include <functional>
#include <future>
#include <iostream>
#include <latch>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <semaphore>
#include <string>
#include <tuple>
#include <utility>

#include "ChatPlatform/CredentialStore.h"
#include "ChatPlatform/KeychainItems.h"
#include "ChatPlatform/SharedServerStore.h"
#include "ChatPush/PushNotificationService.h"
#include "ChatPush/PushProcessor.h"
#include "Foundation/PropertyList.h"
#include "Intents/Intents.h"
#include "Networking/URLSession.h"
#include "UserNotifications/UNNotificationServiceExtension.h"
#include "os/Logger.h"

namespace {

using ChatPlatform::CredentialStore;
using ChatPlatform::SharedServerStore;
using UserNotifications::UNNotificationContent;
using UserNotifications::UNNotificationRequest;

/// A network that answers from memory. Yours hands the request to whatever makes requests in your program, and throws
/// a `Foundation::URLError` where no answer comes.
class Network final : public Foundation::URLSession {
public:
    std::pair<Foundation::Data, Foundation::HTTPURLResponse> data(const Foundation::URLRequest& request) override {
        std::cout << "  " << request.httpMethod << ' ' << request.url.absoluteString() << '\n';
        if (request.httpMethod == "GET") return {Foundation::bytes("a picture's bytes"), {.statusCode = 200}};
        return {Foundation::bytes(R"({"message":"Lunch at noon?","channel_name":"Town Square"})"), {.statusCode = 200}};
    }
};

/// A network that lets everybody wait.
class DeadNetwork final : public Foundation::URLSession {
public:
    std::pair<Foundation::Data, Foundation::HTTPURLResponse> data(const Foundation::URLRequest&) override {
        asked.release();
        answer_.wait();
        throw Foundation::URLError(Foundation::URLError::Code::timedOut);
    }

    std::counting_semaphore<> asked{0};  ///< how often somebody has asked

private:
    std::latch answer_{1};
};

/// Secrets in memory. The pipelines of several pushes ask at once.
class Secrets final : public ChatPlatform::KeychainItems {
public:
    std::optional<Foundation::Data> read(const CredentialStore::Location& location,
                                         const std::string& account) const override {
        const std::lock_guard lock(mutex_);
        const auto found = items_.find(name(location, account));
        return found == items_.end() ? std::nullopt : std::optional(found->second);
    }
    void write(const Foundation::Data& data, const CredentialStore::Location& location,
               const std::string& account) const override {
        const std::lock_guard lock(mutex_);
        items_.insert_or_assign(name(location, account), data);
    }
    void remove(const CredentialStore::Location& location, const std::string& account) const override {
        const std::lock_guard lock(mutex_);
        items_.erase(name(location, account));
    }

private:
    using Name = std::tuple<std::string, std::string, std::string>;

    static Name name(const CredentialStore::Location& location, const std::string& account) {
        return {location.service, location.accessGroup.value_or(""), account};
    }

    mutable std::mutex mutex_;
    mutable std::map<Name, Foundation::Data> items_;
};

/// Returns when a push has had its time, or its content is there.
using Clock = std::function<void(const std::future<UNNotificationContent>& content)>;

/// What is to be shown of the push.
UNNotificationContent delivered(const UNNotificationRequest& request, const ChatPush::PushProcessor& processor,
                                const Clock& clock) {
    const auto service = std::make_shared<ChatPush::PushNotificationService>([processor] { return processor; });
    const auto answer = std::make_shared<std::promise<UNNotificationContent>>();
    auto content = answer->get_future();
    service->didReceive(request, [answer](UNNotificationContent shown) { answer->set_value(std::move(shown)); });
    clock(content);
    service->serviceExtensionTimeWillExpire();  // of no effect where the push has been answered
    return content.get();
}

/// The first token is the server's word for the acknowledgement "a1" to "device-1".
UNNotificationRequest request(const std::string& serverID) {
    const std::string signature =
        "eyJhbGciOiJFUzI1NiIsInR5cCI6IkpXVCJ9.eyJhY2tfaWQiOiJhMSIsImRldmljZV9pZCI6ImRldmljZS0xIn0."
        "MTSA3oJhEqQrlRorP2AuPblTYsjzDWo-N72LJUaw_SKLuss8x4btMqFxz6diKGap7S5xPS0kqJW_oxDoC2KlAQ";
    UserNotifications::UNMutableNotificationContent content;
    content.body = "You have a new message";
    content.userInfo = Foundation::parseDictionary(
        R"({"type":"message","ack_id":"a1","post_id":"p1","channel_id":"town","sender_id":"bob","sender_name":"Bob",
            "id_loaded":true})");
    content.userInfo["server_id"] = serverID;
    content.userInfo["signature"] = signature;
    return {.identifier = "push-1", .content = content.copy()};
}

void show(const std::string& what, const UNNotificationContent& content) {
    std::cout << what << ": " << content.title() << (content.title().empty() ? "" : " | ") << content.body();
    if (const auto& intent = content.intent())
        std::cout << " | from " << intent->sender.personHandle.value
                  << (intent->sender.image ? ", with a picture" : "");
    std::cout << '\n';
}

void run(const std::string& directory) {
    const SharedServerStore servers(directory);
    const CredentialStore credentials(std::make_shared<Secrets>(),
                                      {.service = "my-program.session", .accessGroup = std::nullopt}, std::nullopt);
    const auto url = Foundation::URL::parse("https://chat.example");
    servers.save({.url = *url,
                  .serverID = "example-server",
                  .signingKey = "MFkwEwYHKoZIzj0CAQYIKoZIzj0DAQcDQgAEB+HmDLtcVF//DRmOuj84t7ePLIMyJmxOVkErVfy4kOPDbuxQ"
                                "esA+5wYqos87Jo5Pb/LOG9kYxt8RK6O6LSairg==",
                  .userID = "ada",
                  .deviceToken = "device-1"});
    credentials.setToken("a session token", *url);

    os::setLogSink([](const os::LogEntry& entry) { std::cout << "  log: " << entry.message << '\n'; });
    Intents::setDonationSink([](const Intents::INInteraction& interaction) {
        std::cout << "  donated: a message in " << interaction.intent->conversationIdentifier << '\n';
    });

    const Clock thirtySeconds = [](const auto& content) { content.wait_for(std::chrono::seconds(30)); };
    const ChatPush::PushProcessor processor(servers, credentials, std::make_shared<Network>());
    show("signed", delivered(request("example-server"), processor, thirtySeconds));
    show("unknown", delivered(request("another-server"), processor, thirtySeconds));

    const auto network = std::make_shared<DeadNetwork>();
    const Clock untilAsked = [network](const auto&) { network->asked.acquire(); };
    const ChatPush::PushProcessor cutOff(servers, credentials, network);
    show("late", delivered(request("example-server"), cutOff, untilAsked));
}

}  // namespace

int main(int argc, char** argv) {
    int status = EXIT_FAILURE;
    try {
        if (argc != 2) throw std::invalid_argument("EmbedPush DIRECTORY: where the servers' records are to be kept");
        run(argv[1]);
        status = EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
    }
    // A pipeline that still waits for the network must not meet the ends of static objects.
    std::cout.flush();
    std::_Exit(status);
}
