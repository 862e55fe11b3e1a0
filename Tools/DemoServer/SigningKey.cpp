#include "DemoServer/SigningKey.h"

#include <algorithm>

#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include "DemoServer/OpenSSL.h"
#include "Foundation/Base64.h"
#include "Foundation/Files.h"
#include "Foundation/JSONWriter.h"

namespace DemoServer {

using Foundation::Data;

namespace {

using Foundation::Releaser;
using DigestPointer = std::unique_ptr<EVP_MD_CTX, Releaser<EVP_MD_CTX_free>>;
using SignaturePointer = std::unique_ptr<ECDSA_SIG, Releaser<ECDSA_SIG_free>>;

/// Answers the question for a pass phrase, which OpenSSL would otherwise ask on the terminal.
int noPassPhrase(char*, int, int, void*) {
    return -1;
}

}  // namespace

SigningKey::SigningKey() : SigningKey(EVP_EC_gen("P-256")) {
    require(key_ != nullptr, "no key could be generated");
}

SigningKey::SigningKey(evp_pkey_st* key) : key_(key, EVP_PKEY_free) {}

SigningKey SigningKey::load(const std::filesystem::path& file) {
    const Data pem = Foundation::Files::read(file);
    const StreamPointer stream(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
    SigningKey key(PEM_read_bio_PrivateKey(stream.get(), nullptr, noPassPhrase, nullptr));
    std::string curve(32, '\0');
    std::size_t length = 0;
    require(key.key_ && EVP_PKEY_get_group_name(key.key_.get(), curve.data(), curve.size(), &length) == 1 &&
                curve.substr(0, length) == "prime256v1",
            file.string() + ": not a P-256 private key as PEM without a pass phrase");
    return key;
}

void SigningKey::save(const std::filesystem::path& file) const {
    const Data pem = written(
        [this](BIO* stream) {
            return PEM_write_bio_PKCS8PrivateKey(stream, key_.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1;
        },
        "the key could not be written as PEM");
    Foundation::Files::AtomicWrite(file, pem).commit();
}

std::string SigningKey::publicKey() const {
    Data der(static_cast<std::size_t>(std::max(i2d_PUBKEY(key_.get(), nullptr), 0)));
    unsigned char* end = der.data();
    require(!der.empty() && i2d_PUBKEY(key_.get(), &end) > 0, "the public key could not be encoded");
    return Foundation::base64Encoded(der);
}

std::string SigningKey::token(std::string_view ackID, std::string_view deviceID) const {
    Foundation::JSONWriter claims;
    claims.beginObject().key("ack_id").value(ackID).key("device_id").value(deviceID).endObject();
    return sign(R"({"alg":"ES256","typ":"JWT"})", claims.text());
}

std::string SigningKey::sign(std::string_view header, std::string_view claims) const {
    const std::string input =
        base64URLEncoded(Foundation::bytes(header)) + '.' + base64URLEncoded(Foundation::bytes(claims));
    return input + '.' + base64URLEncoded(rawSignature(input));
}

Data SigningKey::rawSignature(std::string_view bytes) const {
    const auto* const input = reinterpret_cast<const unsigned char*>(bytes.data());
    const DigestPointer context(EVP_MD_CTX_new());
    Data der(80);  // 72 are the most that P-256 needs
    std::size_t length = der.size();
    require(context && EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, key_.get()) == 1 &&
                EVP_DigestSign(context.get(), der.data(), &length, input, bytes.size()) == 1,
            "nothing could be signed with the key");
    const unsigned char* next = der.data();
    const SignaturePointer signature(d2i_ECDSA_SIG(nullptr, &next, static_cast<long>(length)));
    Data raw(64);
    require(signature && BN_bn2binpad(ECDSA_SIG_get0_r(signature.get()), raw.data(), 32) == 32 &&
                BN_bn2binpad(ECDSA_SIG_get0_s(signature.get()), raw.data() + 32, 32) == 32,
            "the signature could not be taken apart");
    return raw;
}

std::string base64URLEncoded(const Data& data) {
    std::string text = Foundation::base64Encoded(data);
    std::replace(text.begin(), text.end(), '+', '-');
    std::replace(text.begin(), text.end(), '/', '_');
    text.erase(std::min(text.find('='), text.size()));
    return text;
}

}  // namespace DemoServer
