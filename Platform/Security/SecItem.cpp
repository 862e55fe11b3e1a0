#include "Security/SecItem.h"

#include <memory>
#include <string_view>

#include "Foundation/Environment.h"
#include "Security/EmbeddedStore.h"
#include "Security/Log.h"
#include "Security/SecretService.h"

namespace Security {

namespace {

/// The store that the environment names; null where it names no kind of store.
std::unique_ptr<SecretStore> currentStore() {
    constexpr std::string_view filePrefix = "file:";
    const auto kind = Foundation::environmentVariable("TESSEL_KEYCHAIN");
    if (!kind) return std::make_unique<SecretService>();
    if (kind->starts_with(filePrefix) && kind->size() > filePrefix.size())
        return std::make_unique<EmbeddedStore>(std::string(kind->substr(filePrefix.size())));
    // Not its value, which might be a secret in the wrong place.
    log().error("$TESSEL_KEYCHAIN names no kind of store; it is to be file:PATH");
    return nullptr;
}

}  // namespace

SecItemResult SecItemCopyMatching(const GenericPasswordQuery& query) {
    const auto store = currentStore();
    return store ? store->copyMatching(query) : SecItemResult{errSecParam, {}};
}

OSStatus SecItemUpdate(const GenericPasswordQuery& query, const Foundation::Data& data) {
    const auto store = currentStore();
    return store ? store->update(query, data) : errSecParam;
}

OSStatus SecItemAdd(const GenericPasswordQuery& query, const Foundation::Data& data) {
    const auto store = currentStore();
    return store ? store->add(query, data) : errSecParam;
}

OSStatus SecItemDelete(const GenericPasswordQuery& query) {
    const auto store = currentStore();
    return store ? store->remove(query) : errSecParam;
}

std::optional<std::string> SecCopyErrorMessageString(OSStatus status) {
    switch (status) {
        case errSecSuccess:
            return "No error.";
        case errSecIO:
            return "The keychain could not be read or written.";
        case errSecParam:
            return "One or more parameters passed to a function were not valid.";
        case errSecNotAvailable:
            return "No keychain is available.";
        case errSecAuthFailed:
            return "Access to the keychain was denied.";
        case errSecDuplicateItem:
            return "The specified item already exists in the keychain.";
        case errSecItemNotFound:
            return "The specified item could not be found in the keychain.";
        case errSecInteractionNotAllowed:
            return "User interaction is not allowed.";
        case errSecDecode:
            return "Unable to decode the provided data.";
        case errSecMissingEntitlement:
            return "A required entitlement isn't present.";
        default:
            return std::nullopt;
    }
}

}  // namespace Security
