#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Bundle/Bundle.h"
#include "ChatModel/PushPayload.h"
#include "ChatPlatform/CredentialStore.h"
#include "ChatPlatform/SharedServerStore.h"
#include "Foundation/FunctionRef.h"
#include "Networking/URLSession.h"
#include "UserNotifications/UNNotificationContent.h"

namespace ChatPush {

/// The pipeline that turns one push's content into what the person sees. Every failure on the way is logged and ends
/// in some content. It holds no state that changes; one is made per request.
struct PushProcessor {
    using MutableContent = UserNotifications::UNMutableNotificationContent;

    /// What `prepare` has reached.
    struct Prepared {
        MutableContent content;
        std::optional<ChatModel::PushPayload> push;        ///< absent unless the push was verified
        std::optional<ChatPlatform::SharedServer> server;  ///< likewise
        std::optional<std::string> token;                  ///< the session token, where there is one
    };

    std::optional<ChatPlatform::SharedServerStore> servers;  ///< absent where there is no shared container
    ChatPlatform::CredentialStore credentials;
    std::shared_ptr<Foundation::URLSession> session;  ///< for acknowledgements and pictures

    /// The pipeline on these. Acknowledgements tell the time by the system's clock.
    PushProcessor(std::optional<ChatPlatform::SharedServerStore> servers, ChatPlatform::CredentialStore credentials,
                  std::shared_ptr<Foundation::URLSession> session);

    /// The pipeline on the stores that the bundle's information names and the process-wide session. A bundle that
    /// lacks what is required stops the process.
    explicit PushProcessor(const Foundation::Bundle& bundle);

    /// "We could not verify this notification with the server." in the user's language.
    static std::string unverifiedText();

    /// Verifies and acknowledges the push and writes into its content what that brings. `update` is called, in this
    /// thread, each time the content has reached a state that is worth showing if time runs out.
    Prepared prepare(MutableContent content, Foundation::FunctionRef<void(const MutableContent&)> update) const;

    /// The content to deliver: for a verified message, a communication notification with the sender's picture.
    UserNotifications::UNNotificationContent communicationContent(Prepared prepared) const;

private:
    explicit PushProcessor(const ChatPlatform::AppGroup& group);

    std::optional<ChatPlatform::SharedServer> sender(const ChatModel::PushPayload& push) const;
    Prepared unverified(MutableContent content, Foundation::FunctionRef<void(const MutableContent&)> update) const;
    std::optional<std::string> sessionToken(const ChatPlatform::SharedServer& server) const;
    void acknowledge(const ChatModel::PushPayload& push, const ChatPlatform::SharedServer& server,
                     const std::string& token, MutableContent& content,
                     Foundation::FunctionRef<void(const MutableContent&)> update) const;
    std::optional<Foundation::Data> avatar(const Prepared& prepared) const;
};

}  // namespace ChatPush
