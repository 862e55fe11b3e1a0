#include "ChatPush/PushSignature.h"

#include <memory>
#include <string>

#include <openssl/evp.h>
#include <openssl/x509.h>

#include "DemoServer/SigningKey.h"
#include "Foundation/Base64.h"
#include "Foundation/Releaser.h"
#include "Support/Comparison.h"

namespace {

using Foundation::Data;
using Foundation::Releaser;

const DemoServer::SigningKey signingKey;
const std::string token = signingKey.token("ack-1", "demo-device-token");
const std::string publicKey = signingKey.publicKey();

void verify(benchmark::State& state) {
    for (auto _ : state) {
        try {
            ChatPush::PushSignature::verify(token, publicKey, "ack-1", "demo-device-token");
        } catch (const ChatPush::PushSignature::Failure& failure) {
            return state.SkipWithError(failure.what());
        }
    }
}

using Key = std::unique_ptr<EVP_PKEY, Releaser<EVP_PKEY_free>>;
using Digest = std::unique_ptr<EVP_MD, Releaser<EVP_MD_free>>;
using Context = std::unique_ptr<EVP_MD_CTX, Releaser<EVP_MD_CTX_free>>;
using Signature = std::unique_ptr<ECDSA_SIG, Releaser<ECDSA_SIG_free>>;

Key parsedKey() {
    const Data der = Foundation::base64Decoded(publicKey).value();
    const auto* next = der.data();
    return Key(d2i_PUBKEY(nullptr, &next, static_cast<long>(der.size())));
}

/// The token's signature, which is r and s behind each other, as OpenSSL wants it.
Data derSignature(std::string raw) {
    for (char& character : raw)
        character = character == '-' ? '+' : character == '_' ? '/' : character;
    const Data bytes = Foundation::base64Decoded(raw.append((4 - raw.size() % 4) % 4, '=')).value();
    const Signature signature(ECDSA_SIG_new());
    ECDSA_SIG_set0(signature.get(), BN_bin2bn(bytes.data(), 32, nullptr), BN_bin2bn(bytes.data() + 32, 32, nullptr));
    Data der(80);
    auto* end = der.data();
    der.resize(static_cast<std::size_t>(i2d_ECDSA_SIG(signature.get(), &end)));
    return der;
}

void verifyBare(benchmark::State& state) {
    const Key key = parsedKey();
    const Digest sha256(EVP_MD_fetch(nullptr, "SHA256", nullptr));
    const std::size_t end = token.rfind('.');
    const Data signature = derSignature(token.substr(end + 1));
    const auto* bytes = reinterpret_cast<const unsigned char*>(token.data());
    for (auto _ : state) {
        const Context context(EVP_MD_CTX_new());
        EVP_DigestVerifyInit(context.get(), nullptr, sha256.get(), nullptr, key.get());
        if (EVP_DigestVerify(context.get(), signature.data(), signature.size(), bytes, end) != 1)
            return state.SkipWithError("the signature does not hold");
    }
}

}  // namespace

int main(int argc, char** argv) {
    return compare(
        argc, argv,
        {{"PushSignature::verify", verify, "OpenSSL's verification alone, the key parsed before", verifyBare, 1.15}});
}
