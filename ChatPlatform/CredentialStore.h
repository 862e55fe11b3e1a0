#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Foundation/URL.h"

namespace ChatPlatform {

class KeychainItems;

/// The user's session tokens, one for each chat server, in the keychain that application and extension share. An item
/// is named by the service, the access group and the server URL's spelling; its data is the token in UTF-8. A token
/// in the older location is moved when it is first read. Holds no state: safe to use from several threads.
struct CredentialStore {
    /// Where items live.
    struct Location {
        std::string service;
        std::optional<std::string> accessGroup;  ///< absent: queries carry none, and match any

        friend bool operator==(const Location&, const Location&) = default;
    };

    /// A keychain operation that neither succeeded nor found nothing.
    class Failure final : public std::exception {
    public:
        explicit Failure(std::int32_t status);

        /// The keychain's status code.
        std::int32_t status() const { return status_; }

        /// The system's message for the status; absent where it has none.
        const std::optional<std::string>& localizedDescription() const { return description_; }

        /// The description, else the bare status.
        const char* what() const noexcept override { return message_.c_str(); }

        friend bool operator==(const Failure& left, const Failure& right) { return left.status_ == right.status_; }

    private:
        std::int32_t status_;
        std::optional<std::string> description_;
        std::string message_;
    };

    std::shared_ptr<const KeychainItems> items;
    Location current;
    std::optional<Location> legacy;

    /// The store on the system's keychain. The legacy service must be another than "com.norvane.tessel.session", the
    /// current one: a location without a group matches the moved item too, which would be removed with it.
    explicit CredentialStore(std::string accessGroup, std::optional<std::string> legacyService = std::nullopt);

    /// The store on other items. Here too the services of the two locations must differ.
    CredentialStore(std::shared_ptr<const KeychainItems> items, Location current, std::optional<Location> legacy);

    /// The token, ill-formed UTF-8 in it replaced by U+FFFD; absent where there is none. Throws `Failure`.
    std::optional<std::string> token(const Foundation::URL& server) const;

    /// Stores the token in the current location. Throws `Failure`.
    void setToken(const std::string& token, const Foundation::URL& server) const;

    /// Removes the token from both locations. Throws `Failure`; removing what is not there is none.
    void removeToken(const Foundation::URL& server) const;
};

}  // namespace ChatPlatform

template <>
struct std::hash<ChatPlatform::CredentialStore::Location> {
    std::size_t operator()(const ChatPlatform::CredentialStore::Location& location) const noexcept;
};
