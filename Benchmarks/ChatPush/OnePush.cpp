#include "OnePush.h"

#include "ChatPush/PushSignature.h"
#include "ExtensionHost/ContentJSON.h"
#include "Foundation/PropertyList.h"
#include "Intents/Intents.h"
#include "Networking/CurlSession.h"

namespace {

using UserNotifications::UNMutableNotificationContent;

std::size_t append(char* bytes, std::size_t size, std::size_t count, void* target) {
    static_cast<std::string*>(target)->append(bytes, size * count);
    return size * count;
}

}  // namespace

Pipeline::Pipeline(const SignedIn& session)
    : processor_(ChatPlatform::SharedServerStore::make(session.group()),
                 ChatPlatform::CredentialStore(session.group().keychainGroup),
                 std::make_shared<Foundation::CurlSession>()),
      content_(ExtensionHost::contentOfPush(Foundation::parseDictionary(session.push("1")))) {
    Intents::setDonationSink([](const Intents::INInteraction&) {});
}

bool Pipeline::run() {
    auto prepared = processor_.prepare(content_, [](const UNMutableNotificationContent&) {});
    const auto result = processor_.communicationContent(std::move(prepared));
    return result.body() == "The text of post-1" && result.intent() && result.intent()->sender.image;
}

Bare::Bare(const SignedIn& session)
    : session_(session),
      key_(session.server().key.publicKey()),
      signature_(Foundation::textOrEmpty(Foundation::parseDictionary(session.push("1")), "signature")),
      acknowledgementURL_(session.acknowledgementURL()),
      pictureURL_(session.pictureURL()),
      body_(SignedIn::acknowledgement()),
      handle_(curl_easy_init()) {
    const std::string token = session.authorization();
    headers_.reset(curl_slist_append(curl_slist_append(nullptr, "Content-Type: application/json"), token.c_str()));
    pictureHeaders_.reset(curl_slist_append(nullptr, token.c_str()));
    curl_easy_setopt(handle_.get(), CURLOPT_WRITEFUNCTION, append);
    curl_easy_setopt(handle_.get(), CURLOPT_WRITEDATA, &answer_);
    curl_easy_setopt(handle_.get(), CURLOPT_ACCEPT_ENCODING, "");
}

bool Bare::run() {
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

bool Bare::isAnswered() {
    long status = 0;
    answer_.clear();
    return curl_easy_perform(handle_.get()) == CURLE_OK &&
           curl_easy_getinfo(handle_.get(), CURLINFO_RESPONSE_CODE, &status) == CURLE_OK && status == 200;
}
