#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "Foundation/Data.h"

struct evp_pkey_st;

namespace DemoServer {

/// A chat server's P-256 key pair, with which it signs its pushes. Copies share the key, which never changes;
/// safe to use from several threads. Where OpenSSL fails, everything here throws `std::runtime_error`.
class SigningKey {
public:
    /// Generates a new key.
    SigningKey();

    /// Reads a private key from a PEM file that is not encrypted. Throws `Foundation::CocoaError` where the
    /// file cannot be read, and `std::runtime_error` where it holds no P-256 key.
    static SigningKey load(const std::filesystem::path& file);

    /// Writes the private key as PEM (PKCS #8), with mode 0600. Throws `Foundation::CocoaError`.
    void save(const std::filesystem::path& file) const;

    /// Standard base64 of the DER SubjectPublicKeyInfo (RFC 5480; 91 bytes): what the server tells its
    /// clients.
    std::string publicKey() const;

    /// What the server puts into a push: an ES256 token with the claims "ack_id" and "device_id".
    std::string token(std::string_view ackID, std::string_view deviceID) const;

    /// A compact JSON Web Signature (RFC 7515, section 7.1) of any header and claims; they are not looked at.
    std::string sign(std::string_view header, std::string_view claims) const;

    /// The ECDSA signature over the SHA-256 of the bytes: r and s of 32 bytes each, big-endian (RFC
    /// 7518, 3.4).
    Foundation::Data rawSignature(std::string_view bytes) const;

private:
    explicit SigningKey(evp_pkey_st* key);

    std::shared_ptr<evp_pkey_st> key_;
};

/// base64url without padding (RFC 4648, section 5).
std::string base64URLEncoded(const Foundation::Data& data);

}  // namespace DemoServer
