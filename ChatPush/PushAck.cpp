#include "ChatPush/PushAck.h"

#include <cstdint>

#include "ChatPush/PushAckCoding.h"
#include "Foundation/FatalError.h"

using ChatPush::PushAck;

namespace {

/// An acknowledgement's body.
struct Body {
    std::string id;
    std::string platform;
    std::string type;
    std::int64_t receivedAt = 0;  // milliseconds since the Unix epoch
    std::optional<std::string> postID;
    bool isIDLoaded = false;
};

}  // namespace

template <>
constexpr auto Foundation::fields<Body> = std::tuple{
    required("id", &Body::id),          required("platform", &Body::platform),
    required("type", &Body::type),      required("received_at", &Body::receivedAt),
    optional("post_id", &Body::postID), required("is_id_loaded", &Body::isIDLoaded),
};

namespace ChatPush {

using ChatModel::PushPayload;

namespace {

std::int64_t milliseconds(Foundation::Date date) {
    const double value = date.secondsSince1970 * 1000.0;
    // NaN compares false, and is caught as well.
    if (!(value >= -0x1p63 && value < 0x1p63))
        Foundation::fatalError("an instant cannot be told in milliseconds", "ChatPush/PushAck");
    return static_cast<std::int64_t>(value);
}

Body bodyFor(const PushPayload& push, Foundation::Date receivedAt) {
    return {.id = push.ackID,
            .platform = std::string(Foundation::wireName(PushAck::current)),
            .type = std::string(Foundation::wireName(push.kind)),
            .receivedAt = milliseconds(receivedAt),
            .postID = push.postID.empty() ? std::nullopt : std::optional(push.postID),
            .isIDLoaded = push.isIDLoaded};
}

}  // namespace

PushAck::Message PushAck::Message::fromJSON(std::string_view text) {
    return Foundation::decodeJSON<Message>(text);
}

PushAck::Failure::Failure(int statusCode)
    : statusCode_(statusCode), message_("HTTP status " + std::to_string(statusCode)) {}

std::optional<PushAck::Message> PushAck::send(const PushPayload& push, Foundation::Date receivedAt) const {
    const Foundation::URLRequest request{
        .url = server.appending("api/v4/notifications/ack"),
        .httpMethod = "POST",
        .headers = {{"Content-Type", "application/json"}, {"Authorization", "Bearer " + token}},
        .httpBody = Foundation::bytes(Foundation::encodeJSON(bodyFor(push, receivedAt))),
        .timeoutInterval = 60};
    const auto [data, response] = session->data(request);
    if (response.statusCode < 200 || response.statusCode > 299) throw Failure(response.statusCode);
    if (!push.isIDLoaded || push.kind != PushPayload::Kind::message || push.postID.empty()) return std::nullopt;
    return Message::fromJSON(Foundation::textView(data));
}

}  // namespace ChatPush

std::size_t std::hash<PushAck::Message>::operator()(const PushAck::Message& message) const noexcept {
    return Foundation::hashFields(message);
}
