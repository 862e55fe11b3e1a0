#include "CryptoKit/P256.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

#include <openssl/core_names.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/params.h>

#include "Foundation/Releaser.h"

namespace CryptoKit::P256::Signing {

namespace {

using Foundation::Releaser;
using KeyPointer = std::unique_ptr<EVP_PKEY, Releaser<EVP_PKEY_free>>;
using ContextPointer = std::unique_ptr<EVP_PKEY_CTX, Releaser<EVP_PKEY_CTX_free>>;
using DigestPointer = std::unique_ptr<EVP_MD_CTX, Releaser<EVP_MD_CTX_free>>;

/// What stands in front of the 65 bytes of an uncompressed P-256 point in its SubjectPublicKeyInfo. These bytes are
/// fixed, and comparing them refuses what OpenSSL's own reading lets pass: bytes behind the key, compressed and
/// hybrid points, explicit curve parameters.
constexpr std::array<std::uint8_t, 26> prefix = {0x30, 0x59, 0x30, 0x13, 0x06, 0x07, 0x2A, 0x86, 0x48,
                                                 0xCE, 0x3D, 0x02, 0x01, 0x06, 0x08, 0x2A, 0x86, 0x48,
                                                 0xCE, 0x3D, 0x03, 0x01, 0x07, 0x03, 0x42, 0x00};
constexpr std::size_t pointLength = 65;
constexpr std::uint8_t uncompressed = 0x04;

/// Leaves no error behind in the thread's queue for whoever reads it next.
struct CleanErrors {
    ~CleanErrors() { ERR_clear_error(); }
};

/// A key that has the curve and nothing else: copying its parameters is far cheaper than naming the curve anew.
/// Throws `CryptoKitError` where OpenSSL has no such curve, or no memory: then it is tried anew by the next.
const EVP_PKEY* curve() {
    static const EVP_PKEY* const key = [] {
        EVP_PKEY* made = nullptr;
        std::array<char, 6> name = {"P-256"};
        OSSL_PARAM parameters[] = {OSSL_PARAM_construct_utf8_string(OSSL_PKEY_PARAM_GROUP_NAME, name.data(), 0),
                                   OSSL_PARAM_construct_end()};
        const ContextPointer context(EVP_PKEY_CTX_new_from_name(nullptr, "EC", nullptr));
        if (context && EVP_PKEY_fromdata_init(context.get()) == 1)
            EVP_PKEY_fromdata(context.get(), &made, EVP_PKEY_KEY_PARAMETERS, parameters);
        if (made == nullptr) throw CryptoKitError();
        return made;
    }();
    return key;
}

const EVP_MD* sha256() {
    static const EVP_MD* const digest = [] {
        EVP_MD* const fetched = EVP_MD_fetch(nullptr, "SHA256", nullptr);
        if (fetched == nullptr) throw std::bad_alloc();
        return fetched;
    }();
    return digest;
}

KeyPointer keyFrom(const Foundation::Data& derRepresentation) {
    const CleanErrors clean;
    if (derRepresentation.size() != prefix.size() + pointLength ||
        !std::equal(prefix.begin(), prefix.end(), derRepresentation.begin()) ||
        derRepresentation[prefix.size()] != uncompressed)
        throw CryptoKitError();
    KeyPointer key(EVP_PKEY_new());
    if (!key) throw std::bad_alloc();
    if (EVP_PKEY_copy_parameters(key.get(), curve()) != 1 ||
        EVP_PKEY_set1_encoded_public_key(key.get(), derRepresentation.data() + prefix.size(), pointLength) != 1)
        throw CryptoKitError();
    return key;
}

/// A DER INTEGER (X.690, section 8.3) of 32 unsigned bytes, written at `out`; returns where it ends.
std::uint8_t* writeInteger(const std::uint8_t* number, std::uint8_t* out) {
    const std::uint8_t* const end = number + 32;
    while (number + 1 < end && *number == 0)
        ++number;
    const bool needsSignByte = (*number & 0x80) != 0;
    *out++ = 0x02;
    *out++ = static_cast<std::uint8_t>(end - number + (needsSignByte ? 1 : 0));
    if (needsSignByte) *out++ = 0;
    return std::copy(number, end, out);
}

}  // namespace

ECDSASignature::ECDSASignature(const Foundation::Data& rawRepresentation) {
    if (rawRepresentation.size() != raw_.size()) throw CryptoKitError();
    std::copy(rawRepresentation.begin(), rawRepresentation.end(), raw_.begin());
}

struct PublicKey::Key {
    explicit Key(KeyPointer key) : pointer(std::move(key)) {}
    KeyPointer pointer;
};

PublicKey::PublicKey(const Foundation::Data& derRepresentation) {
    // The key that was read last serves again: pushes come from one server or two, and OpenSSL takes a tenth of a
    // verification to make a key of its bytes.
    static std::mutex mutex;
    static auto* const last = new std::pair<Foundation::Data, std::shared_ptr<const Key>>;
    {
        const std::lock_guard lock(mutex);
        if (last->first == derRepresentation) key_ = last->second;
    }
    if (key_) return;
    key_ = std::make_shared<const Key>(keyFrom(derRepresentation));
    std::pair read(derRepresentation, key_);
    const std::lock_guard lock(mutex);
    last->swap(read);
}

bool PublicKey::isValidSignature(const ECDSASignature& signature, std::string_view bytes) const {
    const CleanErrors clean;
    // SEQUENCE of two INTEGERs of at most 35 bytes each: every length fits into one byte.
    std::array<std::uint8_t, 72> der{};
    std::uint8_t* end = writeInteger(signature.rawRepresentation().data(), der.data() + 2);
    end = writeInteger(signature.rawRepresentation().data() + 32, end);
    const auto length = static_cast<std::size_t>(end - der.data());
    der[0] = 0x30;
    der[1] = static_cast<std::uint8_t>(length - 2);

    const DigestPointer context(EVP_MD_CTX_new());
    if (!context) throw std::bad_alloc();
    return EVP_DigestVerifyInit(context.get(), nullptr, sha256(), nullptr, key_->pointer.get()) == 1 &&
           EVP_DigestVerify(context.get(), der.data(), length, reinterpret_cast<const unsigned char*>(bytes.data()),
                            bytes.size()) == 1;
}

}  // namespace CryptoKit::P256::Signing
