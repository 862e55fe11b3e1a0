#include "ChatPlatform/Keychain.h"

#include "Foundation/FatalError.h"
#include "Security/SecItem.h"

namespace ChatPlatform {

using Security::GenericPasswordQuery;
using Security::OSStatus;

namespace {

GenericPasswordQuery baseQuery(const CredentialStore::Location& location, const std::string& account) {
    return {.service = location.service, .account = account, .accessGroup = location.accessGroup};
}

void check(OSStatus status) {
    if (status != Security::errSecSuccess) throw CredentialStore::Failure(status);
}

}  // namespace

std::optional<Foundation::Data> Keychain::read(const CredentialStore::Location& location,
                                               const std::string& account) const {
    auto [status, data] = SecItemCopyMatching(baseQuery(location, account));
    if (status == Security::errSecItemNotFound) return std::nullopt;
    check(status);
    if (!data) Foundation::fatalError("the keychain found an item and gave no data", "ChatPlatform/Keychain");
    return data;
}

void Keychain::write(const Foundation::Data& data, const CredentialStore::Location& location,
                     const std::string& account) const {
    const GenericPasswordQuery query = baseQuery(location, account);
    const OSStatus status = SecItemUpdate(query, data);
    check(status == Security::errSecItemNotFound ? SecItemAdd(query, data) : status);
}

void Keychain::remove(const CredentialStore::Location& location, const std::string& account) const {
    const OSStatus status = SecItemDelete(baseQuery(location, account));
    if (status != Security::errSecItemNotFound) check(status);
}

}  // namespace ChatPlatform
