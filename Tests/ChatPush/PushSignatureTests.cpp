#include "ChatPush/PushSignature.h"

#include <gtest/gtest.h>

#include "DemoServer/SigningKey.h"

using ChatPush::PushSignature::Failure;
using DemoServer::SigningKey;

namespace {

const SigningKey key;
constexpr const char* header = R"({"alg":"ES256","typ":"JWT"})";
constexpr const char* claims = R"({"ack_id":"ack","device_id":"device","more":[1]})";

std::string encoded(std::string_view text) { return DemoServer::base64URLEncoded(Foundation::bytes(text)); }

/// How the token fares: "ok" or the failure's name.
std::string outcome(const std::string& token, const std::string& publicKey = key.publicKey(),
                    const std::string& ackID = "ack", const std::string& device = "device") {
    try {
        ChatPush::PushSignature::verify(token, publicKey, ackID, device);
        return "ok";
    } catch (const Failure& failure) {
        return failure.what();
    }
}

std::string token(std::string_view head = header, std::string_view body = claims) { return key.sign(head, body); }

/// The pieces of a good token, one of them replaced.
std::string with(std::size_t piece, const std::string& text) {
    std::string pieces[] = {encoded(header), encoded(claims), token().substr(token().rfind('.') + 1)};
    pieces[piece] = text;
    return pieces[0] + '.' + pieces[1] + '.' + pieces[2];
}

TEST(PushSignature, TheFirstFailingCheckDecides) {
    const std::string foreign = SigningKey().publicKey();
    const std::string signature = token().substr(token().rfind('.') + 1), good = key.publicKey();
    const std::string composed = token(header, R"({"ack_id":"caf\u00e9","device_id":"device"})");
    const std::pair<const char*, std::vector<std::string>> rows[] = {
        {"ok", {outcome(token()), outcome(token(R"({"alg":"ES256"})")), outcome(with(2, signature + "=")),
         outcome(with(2, signature + "==")), outcome(composed, good, "cafe\u0301")}},
        // the pieces, before the key
        {"malformed", {outcome(""), outcome("a.b", "?"), outcome(token() + ".", "?"), outcome(with(0, "="), "?"),
         outcome(with(1, "a"), "?"), outcome(with(2, "a!bc"), "?"), outcome(with(1, encoded(claims) + "\n"), "?"),
         outcome(with(2, signature + "==="), "?"), outcome(with(0, encoded(header) + "===="), "?"),
         outcome(with(1, "YQ==YQ=="), "?")}},
        // the key, before the header
        {"invalidKey", {outcome("..", "?"), outcome(with(0, "bm8"), "?"), outcome(token(), ""),
         outcome(token(), good + "="), outcome(token(), good + '\n'), outcome(token(), good.substr(0, good.size() - 1)),
         outcome(token(), good.substr(0, good.size() - 1) + '-'), outcome(token(), good.substr(0, good.find('=')))}},
        // the header, before the signature
        {"unsupportedAlgorithm", {outcome(with(0, "bm8") + "AAAA"), outcome(with(0, "")),
         outcome(token(R"({"alg":"es256"})")), outcome(token(R"({"alg":"none"})")), outcome(token(R"({"alg":5})")),
         outcome(token(R"({"alg":"ES384"})")), outcome(token(R"({"alg":"HS256"})")),
         outcome(token(R"({"typ":"JWT"})")), outcome(token(R"(["ES256"])"))}},
        // the signature, before the claims
        {"invalidSignature", {outcome(with(2, "")), outcome(with(2, signature + "AAAA")), outcome(token(), foreign),
         outcome(with(1, "bm8")), outcome(with(1, encoded(R"({"ack_id":"ack","device_id":"device"})")))}},
        // the claims, the push before the device
        {"malformed", {outcome(key.sign(header, "")), outcome(token(header, R"({"ack_id":"ack"})")),
         outcome(token(header, R"({"ack_id":"ack","device_id":5})")),
         outcome(token(header, R"({"ack_id":null,"device_id":"device"})"))}},
        {"ackIDMismatch", {outcome(token(), good, "other", "other"), outcome(token(), good, "ACK"),
         outcome(composed, good, "cafe")}},
        {"deviceMismatch", {outcome(token(), good, "ack", "other"), outcome(token(), good, "ack", "device ")}}};
    for (const auto& row : rows)
        for (std::size_t i = 0; i < row.second.size(); ++i)
            EXPECT_EQ(row.second[i], row.first) << "row " << &row - rows << ", token " << i;
}

TEST(PushSignature, SegmentsMayBePaddedAndInEitherAlphabet) {
    const auto outcomeOf = [](const std::string& body, const std::string& spelledLater) {
        const std::string head = encoded(R"({"alg":"ES256"})") + '.';
        return outcome(head + spelledLater + '.' + DemoServer::base64URLEncoded(key.rawSignature(head + body)));
    };
    // {"ack_id":"ack","device_id":"device","x":"~~~???"} and two spaces
    const std::string body = "eyJhY2tfaWQiOiJhY2siLCJkZXZpY2VfaWQiOiJkZXZpY2UiLCJ4Ijoifn5+Pz8/In0gIA";
    for (const char* padding : {"", "=", "=="}) EXPECT_EQ(outcomeOf(body + padding, body + padding), "ok") << padding;
    EXPECT_EQ(outcomeOf(body + "===", body + "==="), "malformed");
    EXPECT_EQ(outcomeOf(body + "==", body), "invalidSignature") << "the spelling is signed, not what it stands for";
}

}  // namespace
