#include "ChatPush/PushSignature.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>

#include "CryptoKit/P256.h"
#include "Foundation/Base64.h"
#include "Foundation/JSONCoding.h"
#include "Text/CanonicalEquivalence.h"

namespace ChatPush::PushSignature {

namespace {

struct Header {
    std::string alg;
};

struct Claims {
    std::string ackID;
    std::string deviceID;
};

/// A token's three pieces, as they stand in it.
struct Segments {
    std::string_view header;
    std::string_view claims;
    std::string_view signature;
    std::string_view signedData;  ///< header and claims with the dot between them
};

}  // namespace

}  // namespace ChatPush::PushSignature

template <>
constexpr auto Foundation::fields<ChatPush::PushSignature::Header> =
    std::tuple{required("alg", &ChatPush::PushSignature::Header::alg)};

template <>
constexpr auto Foundation::fields<ChatPush::PushSignature::Claims> =
    std::tuple{required("ack_id", &ChatPush::PushSignature::Claims::ackID),
               required("device_id", &ChatPush::PushSignature::Claims::deviceID)};

namespace ChatPush::PushSignature {

namespace {

using Foundation::Data;
namespace Signing = CryptoKit::P256::Signing;

std::optional<Segments> split(std::string_view token) {
    if (std::count(token.begin(), token.end(), '.') != 2) return std::nullopt;
    const std::size_t first = token.find('.'), second = token.rfind('.');
    return Segments{.header = token.substr(0, first),
                    .claims = token.substr(first + 1, second - first - 1),
                    .signature = token.substr(second + 1),
                    .signedData = token.substr(0, second)};
}

/// base64url (RFC 4648, section 5) made standard. A segment may hold the standard alphabet's "+" and "/" as well, and
/// padding of its own.
Data decodedSegment(std::string_view segment) {
    std::string text(segment);
    std::replace(text.begin(), text.end(), '-', '+');
    std::replace(text.begin(), text.end(), '_', '/');
    text.append((4 - text.size() % 4) % 4, '=');
    auto data = Foundation::base64Decoded(text);
    if (!data) throw Failure(Failure::malformed);
    return *std::move(data);
}

/// The JSON record in a segment's bytes; a text that is none is a failure of this case.
template <class Record>
Record decodedRecord(const Data& bytes, Failure::Case otherwise) {
    try {
        return Foundation::decodeJSON<Record>(Foundation::textView(bytes));
    } catch (const Foundation::DecodingError&) {
        throw Failure(otherwise);
    }
}

Signing::PublicKey publicKeyFrom(std::string_view text) {
    const auto bytes = Foundation::base64Decoded(text);
    if (!bytes) throw Failure(Failure::invalidKey);
    try {
        return Signing::PublicKey(*bytes);
    } catch (const Signing::CryptoKitError&) {
        throw Failure(Failure::invalidKey);
    }
}

Signing::ECDSASignature signatureFrom(const Data& bytes) {
    try {
        return Signing::ECDSASignature(bytes);
    } catch (const Signing::CryptoKitError&) {
        throw Failure(Failure::invalidSignature);
    }
}

}  // namespace

const char* Failure::what() const noexcept {
    constexpr std::array names = {"malformed",        "invalidKey",    "unsupportedAlgorithm",
                                  "invalidSignature", "ackIDMismatch", "deviceMismatch"};
    return names[static_cast<std::size_t>(case_)];
}

void verify(std::string_view token, std::string_view publicKey, std::string_view ackID, std::string_view deviceToken) {
    const auto segments = split(token);
    if (!segments) throw Failure(Failure::malformed);
    const Data headerBytes = decodedSegment(segments->header);
    const Data claimsBytes = decodedSegment(segments->claims);
    const Data signatureBytes = decodedSegment(segments->signature);

    const Signing::PublicKey key = publicKeyFrom(publicKey);

    // Deliberately unlike the claims: a header that does not decode counts as an algorithm that we do not know.
    if (decodedRecord<Header>(headerBytes, Failure::unsupportedAlgorithm).alg != "ES256")
        throw Failure(Failure::unsupportedAlgorithm);

    if (!key.isValidSignature(signatureFrom(signatureBytes), segments->signedData))
        throw Failure(Failure::invalidSignature);

    // Not earlier: what nobody signed is not looked at.
    const Claims claims = decodedRecord<Claims>(claimsBytes, Failure::malformed);
    if (!Text::canonicallyEquivalent(claims.ackID, ackID)) throw Failure(Failure::ackIDMismatch);
    if (!Text::canonicallyEquivalent(claims.deviceID, deviceToken)) throw Failure(Failure::deviceMismatch);
}

}  // namespace ChatPush::PushSignature
