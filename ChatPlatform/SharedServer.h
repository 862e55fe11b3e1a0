#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "Foundation/URL.h"

namespace ChatPlatform {

/// One signed-in server, as the client shares it with its extensions:
///
///     {"url":"https://chat.example","serverID":"s1","signingKey":"MFkw…","userID":"u1","deviceToken":"d1"}
struct SharedServer {
    Foundation::URL url;
    std::string serverID;     ///< pushes name the server by it
    std::string signingKey;   ///< standard base64 of a DER SubjectPublicKeyInfo on P-256 (RFC 5480)
    std::string userID;       ///< the signed-in user
    std::string deviceToken;  ///< as registered with the server; a push's signature names it

    /// The record in a JSON text: all five keys are required, others are passed over. Throws
    /// `Foundation::DecodingError`.
    static SharedServer fromJSON(std::string_view text);

    /// The record as compact JSON. Throws `std::invalid_argument` for a text that is not UTF-8.
    std::string json() const;

    friend bool operator==(const SharedServer&, const SharedServer&) = default;
};

}  // namespace ChatPlatform

template <>
struct std::hash<ChatPlatform::SharedServer> {
    std::size_t operator()(const ChatPlatform::SharedServer& server) const noexcept;
};
