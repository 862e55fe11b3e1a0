#pragma once

#include "ChatPlatform/KeychainItems.h"

namespace ChatPlatform {

/// The items of the system's keychain.
class Keychain final : public KeychainItems {
public:
    std::optional<Foundation::Data> read(const CredentialStore::Location& location,
                                         const std::string& account) const override;
    void write(const Foundation::Data& data, const CredentialStore::Location& location,
               const std::string& account) const override;
    void remove(const CredentialStore::Location& location, const std::string& account) const override;
};

}  // namespace ChatPlatform
