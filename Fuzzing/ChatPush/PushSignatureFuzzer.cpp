#include "Support.h"

#include <string>

#include <nlohmann/json.hpp>

#include "ChatPush/PushSignature.h"
#include "DemoServer/SigningKey.h"
#include "Foundation/Data.h"

using Fuzzing::check;
namespace PushSignature = ChatPush::PushSignature;

namespace {

constexpr const char* ackID = "ack-1";
constexpr const char* deviceID = "device-é";

const DemoServer::SigningKey& signingKey() {
    static const DemoServer::SigningKey key;
    return key;
}

bool isAccepted(std::string_view token) {
    static const std::string publicKey = signingKey().publicKey();
    const auto accepted = Fuzzing::unless<PushSignature::Failure>([&] {
        PushSignature::verify(token, publicKey, ackID, deviceID);
        return true;
    });
    return accepted.has_value();
}

/// The bytes of base64, of either alphabet and however it ends.
std::string decoded(std::string_view segment) {
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    unsigned bits = 0, count = 0;
    for (char character : segment) {
        character = character == '-' ? '+' : character == '_' ? '/' : character;
        const auto digit = digits.find(character);
        if (digit == std::string_view::npos) continue;
        bits = bits << 6 | static_cast<unsigned>(digit);
        count += 6;
        if (count >= 8) bytes += static_cast<char>(bits >> (count -= 8));
    }
    return bytes;
}

std::string mutated(std::string text, FuzzedDataProvider& input) {
    for (int edits = input.ConsumeIntegralInRange(1, 4); edits > 0; --edits) {
        const auto at = input.ConsumeIntegralInRange<std::size_t>(0, text.size());
        const auto length = input.ConsumeIntegralInRange<std::size_t>(0, std::min<std::size_t>(2, text.size() - at));
        text.replace(at, length, input.ConsumeRandomLengthString(3));
    }
    return text;
}

/// The token with its claims changed, behind the same header and in front of the same signature.
std::string withMutatedClaims(const std::string& token, FuzzedDataProvider& input) {
    const auto start = token.find('.') + 1, end = token.rfind('.');
    const std::string claims = mutated(decoded(token.substr(start, end - start)), input);
    return token.substr(0, start) + DemoServer::base64URLEncoded(Foundation::bytes(claims)) + token.substr(end);
}

}  // namespace

/// A push's token. One that was changed is refused, unless it says the same; one that was signed is taken for what
/// another library reads in it.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string valid = signingKey().token(ackID, deviceID);
    FuzzedDataProvider input(data, size);
    if (input.ConsumeBool()) {
        check(isAccepted(valid), "what the server signed is taken");
        const std::string token = input.ConsumeBool() ? mutated(valid, input) : withMutatedClaims(valid, input);
        if (!isAccepted(token)) return 0;
        const auto behind = valid.rfind('.');
        check(token.substr(0, behind + 1) == valid.substr(0, behind + 1), "what was signed is unchanged", token);
        check(decoded(token.substr(behind + 1)) == decoded(valid.substr(behind + 1)), "the signature is the same",
              token);
        return 0;
    }
    const std::string header = input.ConsumeRandomLengthString(), claims = input.ConsumeRemainingBytesAsString();
    if (!isAccepted(signingKey().sign(header, claims))) return 0;
    const auto read = nlohmann::json::parse(claims, nullptr, false);
    check(nlohmann::json::parse(header, nullptr, false).at("alg") == "ES256", "the algorithm is ours", header);
    check(read.at("ack_id") == ackID, "the claims name the push", claims);
    // Equivalent is also what is composed otherwise.
    check(read.at("device_id") == deviceID || read.at("device_id") == "device-e\u0301", "they name the device", claims);
    return 0;
}
