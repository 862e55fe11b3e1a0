#include "Support.h"

#include "ChatPush/PushAck.h"
#include "Foundation/DecodingError.h"
#include "Foundation/JSONReader.h"
#include "Foundation/OtherJSON.h"

using ChatPush::PushAck;
using Fuzzing::check;

namespace {

using Message = PushAck::Message;

constexpr std::pair<const char*, std::string Message::*> members[] = {
    {"message", &Message::message},
    {"channel_name", &Message::channelName},
    {"sender_id", &Message::senderID},
    {"sender_name", &Message::senderName},
    {"root_id", &Message::rootID},
    {"team_id", &Message::teamID},
    {"override_username", &Message::overrideUsername},
    {"override_icon_url", &Message::overrideIconURL},
    {"from_webhook", &Message::fromWebhook},
};

/// The message in what another library has read.
std::optional<Message> expected(const nlohmann::json& json) {
    if (!json.is_object()) return std::nullopt;
    Message message;
    for (const auto& [key, member] : members) {
        const auto found = json.find(key);
        if (found == json.end() || found->is_null()) continue;
        if (!found->is_string()) return std::nullopt;
        message.*member = found->get<std::string>();
    }
    return message;
}

}  // namespace

/// An acknowledgement's answer: what is decoded is what another library reads, from one value with nothing behind it.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = Fuzzing::textView(data, size);
    const auto message = Fuzzing::unless<Foundation::DecodingError>([&] { return Message::fromJSON(text); });
    const auto other = Fuzzing::otherJSON(text);
    if (!other) return 0;
    if (message || Fuzzing::depthLimit(text) <= Foundation::JSONReader::maximumDepth)
        check(message == expected(*other), "the answer is read as another library reads it", text);
    return 0;
}
