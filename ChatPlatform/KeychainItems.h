#pragma once

#include <optional>
#include <string>

#include "ChatPlatform/CredentialStore.h"
#include "Foundation/Data.h"

namespace ChatPlatform {

/// What a credential store needs of a keychain; each operation is on the item of a location and an account, and
/// throws `CredentialStore::Failure`. Safe to call from several threads.
class KeychainItems {
public:
    virtual ~KeychainItems() = default;

    /// The item's data; absent where there is no such item.
    virtual std::optional<Foundation::Data> read(const CredentialStore::Location& location,
                                                 const std::string& account) const = 0;

    /// Stores the data, creating the item if there is none.
    virtual void write(const Foundation::Data& data, const CredentialStore::Location& location,
                       const std::string& account) const = 0;

    /// Removes the item; a missing one is no failure.
    virtual void remove(const CredentialStore::Location& location, const std::string& account) const = 0;
};

}  // namespace ChatPlatform
