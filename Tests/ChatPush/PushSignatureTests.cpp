#include "ChatPush/PushSignature.h"

#include <functional>

#include <gtest/gtest.h>

#include "DemoServer/SigningKey.h"
#include "Foundation/Base64.h"

using ChatPush::PushSignature::Failure;
using DemoServer::SigningKey;

namespace {

const SigningKey& key() {
    static const SigningKey shared;
    return shared;
}

constexpr const char* header = R"({"alg":"ES256","typ":"JWT"})";
constexpr const char* claims = R"({"ack_id":"ack","device_id":"device","more":[1]})";

std::string encoded(std::string_view text) { return DemoServer::base64URLEncoded(Foundation::bytes(text)); }

/// How the token fares: "ok" or the failure's name.
std::string outcome(const std::string& token, const std::string& publicKey = key().publicKey(),
                    const std::string& ackID = "ack", const std::string& device = "device") {
    try {
        ChatPush::PushSignature::verify(token, publicKey, ackID, device);
        return "ok";
    } catch (const Failure& failure) {
        return failure.what();
    }
}

std::string token(std::string_view head = header, std::string_view body = claims) { return key().sign(head, body); }

/// The pieces of a good token, one of them replaced.
std::string with(std::size_t piece, const std::string& text) {
    std::string pieces[] = {encoded(header), encoded(claims), {}};
    pieces[2] = token().substr(token().rfind('.') + 1);
    pieces[piece] = text;
    return pieces[0] + '.' + pieces[1] + '.' + pieces[2];
}

TEST(PushSignature, TheFirstFailingCheckDecides) {
    const std::string foreign = SigningKey().publicKey();
    const std::string signature = token().substr(token().rfind('.') + 1);
    std::string urlKey = key().publicKey();
    urlKey.back() = '-';
    struct Row {
        std::string outcome;
        std::string expected;
    };
    const Row rows[] = {
        {outcome(token()), "ok"},
        {outcome(token(R"({"alg":"ES256"})")), "ok"},
        // the pieces, before the key
        {outcome(""), "malformed"},
        {outcome("..", "?"), "invalidKey"},
        {outcome("a.b", "?"), "malformed"},
        {outcome(token() + ".", "?"), "malformed"},
        {outcome(with(0, "="), "?"), "malformed"},
        {outcome(with(1, "a"), "?"), "malformed"},
        {outcome(with(2, "a!bc"), "?"), "malformed"},
        {outcome(with(1, encoded(claims) + "\n"), "?"), "malformed"},
        // the key, before the header
        {outcome(with(0, "bm8"), "?"), "invalidKey"},
        {outcome(token(), urlKey), "invalidKey"},
        {outcome(token(), key().publicKey() + "="), "invalidKey"},
        {outcome(token(), ""), "invalidKey"},
        // the header, before the signature
        {outcome(with(0, "bm8") + "AAAA"), "unsupportedAlgorithm"},
        {outcome(with(0, "")), "unsupportedAlgorithm"},
        {outcome(token(R"({"alg":"es256"})")), "unsupportedAlgorithm"},
        {outcome(token(R"({"alg":"none"})")), "unsupportedAlgorithm"},
        {outcome(token(R"({"alg":5})")), "unsupportedAlgorithm"},
        {outcome(token(R"({"typ":"JWT"})")), "unsupportedAlgorithm"},
        {outcome(token(R"(["ES256"])")), "unsupportedAlgorithm"},
        // the signature, before the claims
        {outcome(with(2, "")), "invalidSignature"},
        {outcome(with(2, signature + "AAAA")), "invalidSignature"},
        {outcome(with(2, encoded(std::string(64, '\0')))), "invalidSignature"},
        {outcome(with(1, encoded("no claims"))), "invalidSignature"},
        {outcome(with(1, encoded(R"({"ack_id":"ack","device_id":"device"})"))), "invalidSignature"},
        {outcome(token(), foreign), "invalidSignature"},
        {outcome(key().sign(header, "")), "malformed"},
        {outcome(token(header, R"({"ack_id":"ack"})")), "malformed"},
        {outcome(token(header, R"({"ack_id":"ack","device_id":5})")), "malformed"},
        {outcome(token(header, R"({"ack_id":null,"device_id":"device"})")), "malformed"},
        // the claims, the push before the device
        {outcome(token(), key().publicKey(), "other", "other"), "ackIDMismatch"},
        {outcome(token(), key().publicKey(), "ACK"), "ackIDMismatch"},
        {outcome(token(), key().publicKey(), "ack", "other"), "deviceMismatch"},
        {outcome(token(), key().publicKey(), "ack", "device "), "deviceMismatch"},
    };
    for (std::size_t i = 0; i < std::size(rows); ++i) EXPECT_EQ(rows[i].outcome, rows[i].expected) << "row " << i;
}

/// A signature over pieces as they are spelled here.
std::string signedAsSpelled(const std::string& head, const std::string& body) {
    return head + '.' + body + '.' + DemoServer::base64URLEncoded(key().rawSignature(head + '.' + body));
}

TEST(PushSignature, SegmentsMayBePaddedAndInEitherAlphabet) {
    const std::string head = Foundation::base64Encoded(Foundation::bytes(R"({"alg":"ES256"})"));
    const std::string body =
        Foundation::base64Encoded(Foundation::bytes(R"({"ack_id":"ack","device_id":"device","x":"~~~???"}  )"));
    ASSERT_TRUE(body.ends_with("==") && body.find_first_of("+/") != std::string::npos);
    EXPECT_EQ(outcome(signedAsSpelled(head, body)), "ok");
    EXPECT_EQ(outcome(signedAsSpelled(head, body.substr(0, body.size() - 1))), "ok");
    EXPECT_EQ(outcome(signedAsSpelled(head, body.substr(0, body.size() - 2))), "ok");
    EXPECT_EQ(outcome(signedAsSpelled(head, body + "=")), "malformed");
    // What is signed is the spelling: the same bytes spelled otherwise are not.
    std::string respelled = signedAsSpelled(head, body);
    respelled.erase(respelled.find("=="), 2);
    EXPECT_EQ(outcome(respelled), "invalidSignature");
}

TEST(PushSignature, IdentifiersAreEqualCharacterByCharacter) {
    const std::string composed = token(header, R"({"ack_id":"caf\u00e9","device_id":"device"})");
    EXPECT_EQ(outcome(composed, key().publicKey(), "cafe\u0301"), "ok");
    EXPECT_EQ(outcome(composed, key().publicKey(), "cafe"), "ackIDMismatch");
    EXPECT_EQ(outcome(token(header, R"({"ack_id":"\u212a","device_id":"device"})"), key().publicKey(), "K"), "ok");
}

}  // namespace
