#include "ChatPlatform/CredentialStore.h"

#include <utility>

#include "ChatPlatform/Keychain.h"
#include "Foundation/Hash.h"
#include "Foundation/UTF8.h"
#include "Security/SecItem.h"

namespace ChatPlatform {

namespace {

constexpr const char* sessionService = "com.norvane.tessel.session";

std::optional<CredentialStore::Location> legacyLocation(std::optional<std::string> service) {
    if (!service) return std::nullopt;
    return CredentialStore::Location{.service = *std::move(service), .accessGroup = std::nullopt};
}

}  // namespace

CredentialStore::Failure::Failure(std::int32_t status)
    : status_(status),
      description_(Security::SecCopyErrorMessageString(status)),
      message_(description_.value_or("The keychain failed with status " + std::to_string(status) + '.')) {}

CredentialStore::CredentialStore(std::string accessGroup, std::optional<std::string> legacyService)
    : CredentialStore(std::make_shared<Keychain>(), {sessionService, std::move(accessGroup)},
                      legacyLocation(std::move(legacyService))) {}

CredentialStore::CredentialStore(std::shared_ptr<const KeychainItems> keychainItems, Location currentLocation,
                                 std::optional<Location> oldLocation)
    : items(std::move(keychainItems)), current(std::move(currentLocation)), legacy(std::move(oldLocation)) {}

std::optional<std::string> CredentialStore::token(const Foundation::URL& server) const {
    const std::string& account = server.absoluteString();
    auto data = items->read(current, account);
    if (!data && legacy) {
        data = items->read(*legacy, account);
        if (data) {
            // In this order: a failure may leave the token in both places, never in none.
            items->write(*data, current, account);
            items->remove(*legacy, account);
        }
    }
    if (!data) return std::nullopt;
    return Foundation::repairedUTF8(Foundation::textView(*data));
}

void CredentialStore::setToken(const std::string& token, const Foundation::URL& server) const {
    items->write(Foundation::bytes(token), current, server.absoluteString());
}

void CredentialStore::removeToken(const Foundation::URL& server) const {
    items->remove(current, server.absoluteString());
    if (legacy) items->remove(*legacy, server.absoluteString());
}

}  // namespace ChatPlatform

std::size_t std::hash<ChatPlatform::CredentialStore::Location>::operator()(
    const ChatPlatform::CredentialStore::Location& location) const noexcept {
    return Foundation::hashOf(location.service, location.accessGroup);
}
