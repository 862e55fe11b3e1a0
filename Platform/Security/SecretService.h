#pragma once

#include <chrono>
#include <functional>

#include "Security/SecretStore.h"

namespace Security {

/// Keychain items in the desktop's Secret Service (freedesktop.org, Secret Service API 0.2), reached by
/// libsecret, which is loaded by the first operation. An item has the attributes "service", "account" and
/// "access-group" (empty for none) under the schema "com.norvane.tessel.keychain"; a new one goes into the
/// default collection, its service as label. The service keeps attributes as UTF-8 text without NUL: others
/// name no item, and cannot be added (`errSecParam`).
///
/// The user is never asked for anything: what is locked, or would need a prompt, is
/// `errSecInteractionNotAllowed`. `errSecNotAvailable` where there is no library, bus, service or default
/// collection, or where the operation as a whole is not answered in time; it may then still take effect. While
/// 16 such operations are still at work, a further one is not tried: a service that hangs piles up no threads. The
/// connection lasts no longer than the operations that use it, so a bus or a service that was restarted in
/// between is no obstacle.
class SecretService final : public SecretStore {
public:
    explicit SecretService(std::chrono::milliseconds timeout = std::chrono::seconds(5));

    SecItemResult copyMatching(const GenericPasswordQuery& query) override;
    OSStatus update(const GenericPasswordQuery& query, const Foundation::Data& data) override;
    OSStatus add(const GenericPasswordQuery& query, const Foundation::Data& data) override;
    OSStatus remove(const GenericPasswordQuery& query) override;

private:
    class Session;

    /// What is done once connected; the data that it found, if it looked for any.
    using Operation = std::function<std::optional<Foundation::Data>(const Session&)>;

    SecItemResult perform(Operation operation) const;

    std::chrono::milliseconds timeout_;
};

}  // namespace Security
