#include "ChatModel/ClientConfig.h"

#include "ChatModel/EntityCoding.h"

using ChatModel::ClientConfig;
using Foundation::JSONReader;

namespace {

std::string textOf(JSONReader& reader) {
    std::string text;
    reader.read(text);
    return text;
}

/// A text; the empty one is none.
struct Text {
    static void decode(JSONReader& reader, std::optional<std::string>& text) {
        text = textOf(reader);
        if (text->empty()) text.reset();
    }
};

/// The text of a URL; any other text is none.
struct URLText {
    static void decode(JSONReader& reader, std::optional<Foundation::URL>& url) {
        url = Foundation::URL::parse(textOf(reader));
    }
};

/// A boolean as text. Where "not said" is told apart, the empty text says nothing.
struct FlagText {
    static void decode(JSONReader& reader, bool& flag) { flag = textOf(reader) == "true"; }

    static void decode(JSONReader& reader, std::optional<bool>& flag) {
        const std::string text = textOf(reader);
        flag = text.empty() ? std::nullopt : std::optional(text == "true");
    }
};

}  // namespace

template <>
constexpr auto Foundation::fields<ClientConfig> = std::tuple{
    optional<URLText>("SiteURL", &ClientConfig::siteURL),
    defaulted("SiteName", &ClientConfig::siteName),
    optional<Text>("OpenIdButtonText", &ClientConfig::openIDButtonText),
    defaulted<FlagText>("EnableSignUpWithOpenId", &ClientConfig::isOpenIDEnabled),
    defaulted<FlagText>("EnableSignInWithEmail", &ClientConfig::isEmailSignInEnabled),
    defaulted<FlagText>("EnableSignInWithUsername", &ClientConfig::isUsernameSignInEnabled),
    optional<URLText>("HelpLink", &ClientConfig::helpLink),
    optional<URLText>("ReportAProblemLink", &ClientConfig::reportProblemLink),
    optional<Text>("DiagnosticId", &ClientConfig::diagnosticID),
    optional<Text>("AsymmetricSigningPublicKey", &ClientConfig::signingPublicKey),
    optional<FlagText>("SendPushNotifications", &ClientConfig::sendsPushNotifications),
};

template ClientConfig ChatModel::ServerJSON<ClientConfig>::decode(std::string_view);
template std::vector<ClientConfig> ChatModel::ServerJSON<ClientConfig>::decodeList(std::string_view);

std::size_t std::hash<ClientConfig>::operator()(const ClientConfig& config) const noexcept {
    return Foundation::hashFields(config);
}
