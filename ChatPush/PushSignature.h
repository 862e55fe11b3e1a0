#pragma once

#include <cstddef>
#include <exception>
#include <functional>
#include <string_view>

/// The check that a push comes from its server: a compact JSON Web Signature (RFC 7515) with ES256 (RFC 7518,
/// section 3.4), issued for this very push and this very device.
namespace ChatPush::PushSignature {

/// Why a token was refused.
class Failure final : public std::exception {
public:
    /// In the order in which they are found, but for claims that are not JSON: these are read behind the signature.
    enum class Case {
        malformed,             ///< not three base64url segments, or the claims are not the expected JSON
        invalidKey,            ///< the key is not base64 of a DER P-256 public key
        unsupportedAlgorithm,  ///< the header does not decode, or names another algorithm than "ES256"
        invalidSignature,      ///< not a raw P-256 signature, or not this key's over these bytes
        ackIDMismatch,         ///< the claims name another acknowledgement identifier
        deviceMismatch         ///< the claims name another device
    };
    using enum Case;

    explicit Failure(Case value) : case_(value) {}

    Case value() const { return case_; }

    /// The case's name.
    const char* what() const noexcept override;

    friend bool operator==(const Failure& left, const Failure& right) { return left.case_ == right.case_; }

private:
    Case case_;
};

/// Verifies a token.
///
/// `token`: header, claims and signature as base64url, with or without padding, joined by dots. `publicKey`: standard
/// base64 of a DER SubjectPublicKeyInfo (RFC 5480). `ackID` and `deviceToken`: what the claims "ack_id" and
/// "device_id" must be. The claims are read only after the signature has been verified. Throws `Failure`, and beside
/// it nothing but what a machine without memory or without its Unicode library throws. Pure; safe to call from
/// several threads.
void verify(std::string_view token, std::string_view publicKey, std::string_view ackID, std::string_view deviceToken);

}  // namespace ChatPush::PushSignature

template <>
struct std::hash<ChatPush::PushSignature::Failure> {
    std::size_t operator()(const ChatPush::PushSignature::Failure& failure) const noexcept {
        return static_cast<std::size_t>(failure.value());
    }
};
