#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "Foundation/URL.h"

namespace ChatModel {

/// What the client needs of the server's public configuration, which is texts throughout:
///
///     {"SiteURL":"https://chat.example","SiteName":"Example","EnableSignInWithEmail":"true",
///      "SendPushNotifications":"true"}
///
/// A key that is missing, null or holds the empty text gives the field's default; any other kind is an error. Only
/// decoded, never encoded.
struct ClientConfig {
    std::optional<Foundation::URL> siteURL;  ///< absent also where the text is no URL
    std::string siteName;
    std::optional<std::string> openIDButtonText;
    bool isOpenIDEnabled = false;  ///< this and the two below: the text "true", exactly
    bool isEmailSignInEnabled = false;
    bool isUsernameSignInEnabled = false;
    std::optional<Foundation::URL> helpLink;           ///< absent also where the text is no URL
    std::optional<Foundation::URL> reportProblemLink;  ///< absent also where the text is no URL
    std::optional<std::string> diagnosticID;
    std::optional<std::string> signingPublicKey;  ///< base64 of the key that signs pushes, a DER SubjectPublicKeyInfo
    std::optional<bool> sendsPushNotifications;   ///< absent where the server does not say

    bool isPasswordSignInEnabled() const { return isEmailSignInEnabled || isUsernameSignInEnabled; }

    friend bool operator==(const ClientConfig&, const ClientConfig&) = default;
};

}  // namespace ChatModel

template <>
struct std::hash<ChatModel::ClientConfig> {
    std::size_t operator()(const ChatModel::ClientConfig& config) const noexcept;
};
