#include "ChatPush/PushProcessor.h"

#include <exception>
#include <utility>

#include "ChatPush/Log.h"
#include "ChatPush/PushAck.h"
#include "ChatPush/PushContentBuilder.h"
#include "ChatPush/PushSignature.h"
#include "ChatPush/ResourceBundle.h"

namespace ChatPush {

using ChatModel::PushPayload;
using ChatPlatform::CredentialStore;
using ChatPlatform::SharedServer;
using ChatPlatform::SharedServerStore;
using os::Private;
using os::Public;
using UserNotifications::UNNotificationContent;

PushProcessor::PushProcessor(std::optional<SharedServerStore> serverStore, CredentialStore credentialStore,
                             std::shared_ptr<Foundation::URLSession> urlSession)
    : servers(std::move(serverStore)), credentials(std::move(credentialStore)), session(std::move(urlSession)) {}

PushProcessor::PushProcessor(const Foundation::Bundle& bundle) : PushProcessor(ChatPlatform::AppGroup(bundle)) {}

PushProcessor::PushProcessor(const ChatPlatform::AppGroup& group)
    : PushProcessor(SharedServerStore::make(group), CredentialStore(group.keychainGroup),
                    Foundation::URLSession::shared()) {}

std::string PushProcessor::unverifiedText() {
    return resourceBundle().localizedString("We could not verify this notification with the server.");
}

PushProcessor::Prepared PushProcessor::prepare(MutableContent content,
                                               Foundation::FunctionRef<void(const MutableContent&)> update) const {
    auto push = PushPayload::make(content.userInfo);
    if (!push) return {.content = std::move(content), .push = {}, .server = {}, .token = {}};

    auto server = sender(*push);
    if (!server || !push->signature) {
        log().log("A push from an unknown server or without a signature");
        return unverified(std::move(content), update);
    }
    try {
        PushSignature::verify(*push->signature, server->signingKey, push->ackID, server->deviceToken);
    } catch (const PushSignature::Failure& failure) {
        log().log("A push failed verification: ", Public{failure.what()});
        return unverified(std::move(content), update);
    }

    if (push->kind == PushPayload::Kind::message) PushContentBuilder::configure(content, *push);
    content.userInfo.insert_or_assign("server_url", server->url.absoluteString());
    update(content);

    auto token = sessionToken(*server);
    if (token) {
        acknowledge(*push, *server, *token, content, update);
        // Whatever the answer wrote into the user information is to be seen.
        push = PushPayload::make(content.userInfo);
    }
    return {
        .content = std::move(content), .push = std::move(push), .server = std::move(server), .token = std::move(token)};
}

std::optional<SharedServer> PushProcessor::sender(const PushPayload& push) const {
    if (!servers) return std::nullopt;
    try {
        return servers->server(push.serverID);
    } catch (const std::exception& error) {
        log().error("Reading the server of a push failed: ", Private{error.what()});
        return std::nullopt;
    }
}

PushProcessor::Prepared PushProcessor::unverified(MutableContent content,
                                                  Foundation::FunctionRef<void(const MutableContent&)> update) const {
    PushContentBuilder::unverified(content, unverifiedText());
    update(content);
    return {.content = std::move(content), .push = {}, .server = {}, .token = {}};
}

std::optional<std::string> PushProcessor::sessionToken(const SharedServer& server) const {
    try {
        return credentials.token(server.url);
    } catch (const CredentialStore::Failure& failure) {
        log().error("Reading the session token failed: ", Public{failure.what()});
        return std::nullopt;
    } catch (const std::exception& error) {
        log().error("Reading the session token failed: ", Private{error.what()});
        return std::nullopt;
    }
}

void PushProcessor::acknowledge(const PushPayload& push, const SharedServer& server, const std::string& token,
                                MutableContent& content,
                                Foundation::FunctionRef<void(const MutableContent&)> update) const {
    std::optional<PushAck::Message> message;
    try {
        message = PushAck{server.url, token, session}.send(push, Foundation::Date::now());
    } catch (const std::exception& error) {
        log().error("Acknowledging a push failed: ", Private{error.what()});
    }
    if (!message) return;
    PushContentBuilder::apply(*message, content);
    update(content);
}

std::optional<Foundation::Data> PushProcessor::avatar(const Prepared& prepared) const {
    const auto url = PushContentBuilder::avatarURL(*prepared.push, prepared.server->url);
    if (!url) return std::nullopt;
    Foundation::URLRequest request{.url = *url, .headers = {}, .httpBody = {}, .timeoutInterval = 60};
    // The token is for its own server alone; a picture may lie anywhere.
    if (prepared.token && url->host() == prepared.server->url.host())
        request.headers.emplace_back("Authorization", "Bearer " + *prepared.token);
    try {
        auto [data, response] = session->data(request);
        if (response.statusCode == 200) return std::move(data);
    } catch (const Foundation::URLError& error) {
        log().log("Loading the sender's avatar failed: ", Public{error.what()});
    } catch (const std::exception& error) {
        log().log("Loading the sender's avatar failed: ", Private{error.what()});
    }
    return std::nullopt;
}

UNNotificationContent PushProcessor::communicationContent(Prepared prepared) const {
    if (!prepared.push || prepared.push->kind != PushPayload::Kind::message || !prepared.server)
        return UNNotificationContent(std::move(prepared.content));
    const auto intent = PushContentBuilder::intent(*prepared.push, prepared.content, avatar(prepared));
    const UNNotificationContent content(std::move(prepared.content));
    try {
        Intents::INInteraction{intent, Intents::INInteractionDirection::incoming}.donate();
        return content.updating(intent);
    } catch (const Intents::INIntentError& error) {
        log().log("The push stays a plain notification: ", Public{error.what()});
        return content;
    } catch (const std::exception& error) {
        log().log("The push stays a plain notification: ", Private{error.what()});
        return content;
    }
}

}  // namespace ChatPush
