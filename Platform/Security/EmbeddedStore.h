#pragma once

#include <string>

#include "Security/SecretStore.h"

namespace Security {

/// Keychain items in one SQLite file, for machines without a secret service. The file is created, with mode
/// 0600, by the first item that is added, in a directory that must exist; until then every item is "not
/// found". Attributes and data may hold any bytes. An operation waits up to 5 seconds for other writers. One
/// that reads leaves the file open for the next one, as long as the path leads to it: its permissions count when it is
/// opened, and a process that has read items is not to be forked without starting another program.
///
/// Statuses beside the usual: `errSecDecode` for a file that is no store, `errSecAuthFailed` where its
/// permissions forbid the operation, `errSecNotAvailable` where other writers keep it locked, `errSecIO` for
/// what else fails.
class EmbeddedStore final : public SecretStore {
public:
    explicit EmbeddedStore(const std::string& path);

    SecItemResult copyMatching(const GenericPasswordQuery& query) override;
    OSStatus update(const GenericPasswordQuery& query, const Foundation::Data& data) override;
    OSStatus add(const GenericPasswordQuery& query, const Foundation::Data& data) override;
    OSStatus remove(const GenericPasswordQuery& query) override;

private:
    std::string path_;
};

}  // namespace Security
