#pragma once

#include <array>
#include <cstdint>
#include <exception>
#include <memory>
#include <string_view>

#include "Foundation/Data.h"

/// Elliptic-curve signatures over NIST P-256 (FIPS 186-4).
namespace CryptoKit::P256::Signing {

/// Bytes that are no public key or no signature.
class CryptoKitError final : public std::exception {
public:
    const char* what() const noexcept override { return "the bytes are not of the expected form"; }
};

/// An ECDSA signature, r and s.
class ECDSASignature {
public:
    /// From the raw form: r and s of 32 bytes each, big-endian, r first. Throws `CryptoKitError` for any other
    /// length; whether the numbers are within range is found when it is verified.
    explicit ECDSASignature(const Foundation::Data& rawRepresentation);

    const std::array<std::uint8_t, 64>& rawRepresentation() const { return raw_; }

private:
    std::array<std::uint8_t, 64> raw_{};
};

/// A public key: a point on the curve.
class PublicKey {
public:
    /// From a DER SubjectPublicKeyInfo (RFC 5480) with the named curve and the uncompressed point: 91 bytes. Throws
    /// `CryptoKitError` for any other form, for bytes behind it, and for a point that is not on the curve.
    explicit PublicKey(const Foundation::Data& derRepresentation);

    /// Whether the signature is one of this key over the SHA-256 of the bytes. Throws nothing but memory exhaustion.
    bool isValidSignature(const ECDSASignature& signature, std::string_view bytes) const;

private:
    struct Key;
    std::shared_ptr<const Key> key_;
};

}  // namespace CryptoKit::P256::Signing
