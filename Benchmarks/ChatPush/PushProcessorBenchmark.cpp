#include "ChatPush/PushProcessor.h"

#include <memory>
#include <optional>
#include <string>

#include <curl/curl.h>

#include "ChatPush/PushSignature.h"
#include "ExtensionHost/ContentJSON.h"
#include "Foundation/Releaser.h"
#include "Intents/Intents.h"
#include "Networking/CurlSession.h"
#include "Support/Comparison.h"
#include "Support/SignedIn.h"

namespace {

using Foundation::Releaser;
using UserNotifications::UNMutableNotificationContent;

/// One push through the pipeline: record file, verification, token from the embedded store, acknowledgement that
/// brings the text, picture.
class Pipeline {
public:
    explicit Pipeline(const SignedIn& session)
        : processor_(ChatPlatform::SharedServerStore::make(session.group()),
                     ChatPlatform::CredentialStore(session.group().keychainGroup),
                     std::make_shared<Foundation::CurlSession>()),
          content_(ExtensionHost::contentOfPush(Foundation::parseDictionary(session.push("1")))) {
        Intents::setDonationSink([](const Intents::INInteraction&) {});
    }

    bool run() {
        auto prepared = processor_.prepare(content_, [](const UNMutableNotificationContent&) {});
        const auto result = processor_.communicationContent(std::move(prepared));
        return result.body() == "The text of post-1" && result.intent() && result.intent()->sender.image;
    }

private:
    const ChatPush::PushProcessor processor_;
    const UNMutableNotificationContent content_;
};

using Handle = std::unique_ptr<CURL, Releaser<curl_easy_cleanup>>;
using Headers = std::unique_ptr<curl_slist, Releaser<curl_slist_free_all>>;

std::size_t append(char* bytes, std::size_t size, std::size_t count, void* target) {
    static_cast<std::string*>(target)->append(bytes, size * count);
    return size * count;
}

/// What cannot be done without: a verification and the two requests on one handle, with all that can be ready before.
class Bare {
public:
    explicit Bare(const SignedIn& session) : session_(session), handle_(curl_easy_init()) {
        const std::string token = session.authorization();
        headers_.reset(curl_slist_append(curl_slist_append(nullptr, "Content-Type: application/json"), token.c_str()));
        pictureHeaders_.reset(curl_slist_append(nullptr, token.c_str()));
        curl_easy_setopt(handle_.get(), CURLOPT_WRITEFUNCTION, append);
        curl_easy_setopt(handle_.get(), CURLOPT_WRITEDATA, &answer_);
        curl_easy_setopt(handle_.get(), CURLOPT_ACCEPT_ENCODING, "");
    }

    bool run() {
        ChatPush::PushSignature::verify(signature_, key_, "ack-1", session_.server().deviceToken);
        curl_easy_setopt(handle_.get(), CURLOPT_URL, acknowledgementURL_.c_str());
        curl_easy_setopt(handle_.get(), CURLOPT_HTTPHEADER, headers_.get());
        curl_easy_setopt(handle_.get(), CURLOPT_POSTFIELDSIZE, static_cast<long>(body_.size()));
        curl_easy_setopt(handle_.get(), CURLOPT_POSTFIELDS, body_.c_str());
        const bool isAcknowledged = isAnswered();
        curl_easy_setopt(handle_.get(), CURLOPT_URL, pictureURL_.c_str());
        curl_easy_setopt(handle_.get(), CURLOPT_HTTPHEADER, pictureHeaders_.get());
        curl_easy_setopt(handle_.get(), CURLOPT_HTTPGET, 1L);
        return isAcknowledged && isAnswered();
    }

private:
    bool isAnswered() {
        long status = 0;
        answer_.clear();
        return curl_easy_perform(handle_.get()) == CURLE_OK &&
               curl_easy_getinfo(handle_.get(), CURLINFO_RESPONSE_CODE, &status) == CURLE_OK && status == 200;
    }

    const SignedIn& session_;
    const std::string key_ = session_.server().key.publicKey();
    const std::string signature_ =
        Foundation::textOrEmpty(Foundation::parseDictionary(session_.push("1")), "signature");
    const std::string acknowledgementURL_ = session_.acknowledgementURL();
    const std::string pictureURL_ = session_.pictureURL();
    const std::string body_ = SignedIn::acknowledgement();
    Headers headers_;
    Headers pictureHeaders_;
    std::string answer_;
    const Handle handle_;
};

/// Each time over a connection of its own, which is made before: whether its client is woken once or twice for an answer
/// is a habit of a connection, and costs more than what is to be seen here.
template <class Subject>
void measure(benchmark::State& state, const SignedIn& session) {
    Subject subject(session);
    bool isGood = subject.run();
    for (auto _ : state)
        isGood = subject.run() && isGood;
    if (!isGood) state.SkipWithError("a push did not become what it should");
}

}  // namespace

int main(int argc, char** argv) {
    const SignedIn session;
    return compare(
        argc, argv,
        {{"a push through PushProcessor", [&](benchmark::State& state) { measure<Pipeline>(state, session); },
          "its requests on one libcurl handle, and a verification",
          [&](benchmark::State& state) { measure<Bare>(state, session); }, 1.15}});
}
