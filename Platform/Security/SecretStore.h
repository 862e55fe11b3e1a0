#pragma once

#include "Security/SecItem.h"

namespace Security {

/// A place where keychain items are kept. Its operations are those of `SecItem.h`, with the same statuses.
/// Safe to call from several threads.
class SecretStore {
public:
    virtual ~SecretStore() = default;

    virtual SecItemResult copyMatching(const GenericPasswordQuery& query) = 0;
    virtual OSStatus update(const GenericPasswordQuery& query, const Foundation::Data& data) = 0;
    virtual OSStatus add(const GenericPasswordQuery& query, const Foundation::Data& data) = 0;
    virtual OSStatus remove(const GenericPasswordQuery& query) = 0;
};

}  // namespace Security
