#include "CryptoKit/P256.h"

#include <gtest/gtest.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/err.h>
#include <openssl/x509.h>

// clang-format off: the tables hold several short rows on a line.
using namespace CryptoKit::P256::Signing;
using Foundation::Data;

namespace {

Data hex(const std::string& digits) {
    Data data;
    for (std::size_t i = 0; i < digits.size(); i += 2)
        data.push_back(static_cast<std::uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    return data;
}

/// A valid key of the curve as OpenSSL writes it.
Data encoded(const char* curve, const char* point, const char* parameters) {
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(EVP_EC_gen(curve), EVP_PKEY_free);
    EVP_PKEY_set_utf8_string_param(key.get(), OSSL_PKEY_PARAM_EC_POINT_CONVERSION_FORMAT, point);
    EVP_PKEY_set_utf8_string_param(key.get(), OSSL_PKEY_PARAM_EC_ENCODING, parameters);
    Data data(static_cast<std::size_t>(i2d_PUBKEY(key.get(), nullptr)));
    unsigned char* end = data.data();
    i2d_PUBKEY(key.get(), &end);
    return data;
}

// RFC 6979, A.2.5.
const std::string beforePoint = "3059301306072A8648CE3D020106082A8648CE3D030107034200";
const std::string prefix = beforePoint + "04";
const std::string key = prefix + "60FED4BA255A9D31C961EB74C6356D68C049B8923B61FA6CE669622E60F29FB6"
                                 "7903FE1008B8BC99A41AE9E95628BC64F2F1B20C2D7E9F5177A3C294D4462299";
const std::string r = "EFD48B2AACB6A8FD1140DD9CD45E81D69D2C877B56AAF991C34D0EA84EAF3716";
const std::string s = "F7CB1C942D657C41D436C7A1B6E29F65F3E900DBB9AFF4064DC4AB2F843ACDA8";
const std::string order = "FFFFFFFF00000000FFFFFFFFFFFFFFFFBCE6FAADA7179E84F3B9CAC2FC632551";
const std::string zero(64, '0');

TEST(PublicKey, HasOneForm) {
    EXPECT_NO_THROW(PublicKey{encoded("P-256", "uncompressed", "named_curve")});
    std::vector<Data> others = {
        encoded("P-256", "compressed", "named_curve"), encoded("P-256", "hybrid", "named_curve"),
        encoded("P-256", "uncompressed", "explicit"), encoded("secp256k1", "uncompressed", "named_curve"),
        encoded("P-384", "uncompressed", "named_curve"),
        hex("3019301306072A8648CE3D020106082A8648CE3D03010703020000"),  // the point at infinity
        hex(beforePoint + "02" + key.substr(prefix.size(), 64) + zero),  // a compressed point, and more
        hex(prefix + zero + zero), hex(key + "00"), hex(key.substr(0, 180)), {}};
    for (std::size_t i = 0; i < 91; ++i) {
        others.push_back(hex(key));
        others.back()[i] ^= 1;
    }
    for (std::size_t i = 0; i < others.size(); ++i) EXPECT_THROW(PublicKey{others[i]}, CryptoKitError) << i;
    EXPECT_EQ(ERR_peek_error(), 0u) << "an error is left for whoever looks next";
}

TEST(ECDSASignature, IsVerified) {
    const std::string published = "F1ABB023518351CD71D881567B1EA663ED3EFCF6C5132B354F28D3B0B7D38367"
                                  "019F4113742A2B14BD25926B49C649155F267E60D3814B4C0CC84250E46F0083";
    const std::string leadingZeros = "00609156172D9C67B2903AF7DF5A3EDFFE6B3D20C21A1AD00FB4EE704CEA5B45"
                                     "00A5F9B351CF33F9A948F6175A4486F0BFD69D9D236689357EE71EF28010F74E";
    const std::string overSHA384 = "0EAFEA039B20E9B42309FB1D89E213057CBF973DC0CFC8F129EDDDC800EF7719"
                                   "4861F0491E6998B9455193E34E7B0D284DDD7149A74B95B9261F13ABDE940954";
    const std::tuple<std::string, const char*, bool> rows[] = {
        {r + s, "sample", true}, {published, "test", true}, {leadingZeros, "sample", true}, {r + s, "sample2", false},
        {zero + s, "sample", false}, {r + zero, "sample", false}, {order + s, "sample", false},
        {r + order, "sample", false}, {overSHA384, "sample", false}};
    const PublicKey publicKey(hex(key));
    for (const auto& [signature, text, isValid] : rows)
        EXPECT_EQ(publicKey.isValidSignature(ECDSASignature(hex(signature)), text), isValid) << signature;
    // A key computed for a signature whose r and s have 32 bytes even with the order added, and whose DER has 64.
    const PublicKey computed(hex(prefix + "E419B0D07FA064C83E0C099AA34AC2CD9A04405DD0BAC4E55773CD0ECCE05621"
                                          "69B56413560A90114AE7A923227BBAC8A4FD54944DFE00248771B133773EEF4F"));
    const std::string smallR = "80" + zero.substr(10), smallS = smallR.substr(0, 54) + "05", four(8, '0');
    const std::string large = "FFFFFFFF80000000FFFFFFFFFFFFFFFFBCE6FAADA7179E84F3B9CAC2FC6325";
    for (const auto& [signature, isValid] : {
             std::pair(four + smallR + four + smallS, true), {large + "51" + four + smallS, false},
             {four + smallR + large + "56", false}, {"303E021D00" + smallR + "021D00" + smallS, false}})
        EXPECT_EQ(computed.isValidSignature(ECDSASignature(hex(signature)), "sample"), isValid) << signature;
    EXPECT_EQ(ERR_peek_error(), 0u);
    for (const int length : {0, 32, 63, 65, 72, 96, 256}) EXPECT_THROW(ECDSASignature{Data(length)}, CryptoKitError);
    EXPECT_THROW(ECDSASignature{hex("3046022100" + r + "022100" + s)}, CryptoKitError) << "in DER";
}

}  // namespace
