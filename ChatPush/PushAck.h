#pragma once

#include <array>
#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "ChatModel/PushPayload.h"
#include "Foundation/Date.h"
#include "Foundation/URL.h"
#include "Foundation/WireNames.h"
#include "Networking/URLSession.h"

namespace ChatPush {

/// Tells a chat server that a push arrived, and brings back the message that the server kept out of it. An immutable
/// value; `send` may be called from any thread.
struct PushAck {
    /// The client's platform, as the server knows it.
    enum class Platform { iOS, macOS };

    /// What an acknowledgement reports.
    static constexpr Platform current = Platform::macOS;

    /// The message of an acknowledgement's answer:
    ///
    ///     {"message":"Hello","channel_name":"Town Square","sender_id":"u2","sender_name":"alice","root_id":"",
    ///      "team_id":"t1","override_username":"","override_icon_url":"","from_webhook":"false"}
    ///
    /// All are texts; a missing or null one is empty.
    struct Message {
        std::string message;
        std::string channelName;
        std::string senderID;
        std::string senderName;
        std::string rootID;
        std::string teamID;
        std::string overrideUsername;
        std::string overrideIconURL;
        std::string fromWebhook;

        /// The message in a JSON text. Throws `Foundation::DecodingError`, also for a value that is not text.
        static Message fromJSON(std::string_view text);

        friend bool operator==(const Message&, const Message&) = default;
    };

    /// The server answered with a status outside 200 to 299.
    class Failure final : public std::exception {
    public:
        explicit Failure(int statusCode);

        int statusCode() const { return statusCode_; }

        /// "HTTP status 404".
        const char* what() const noexcept override { return message_.c_str(); }

        friend bool operator==(const Failure& left, const Failure& right) {
            return left.statusCode_ == right.statusCode_;
        }

    private:
        int statusCode_;
        std::string message_;
    };

    Foundation::URL server;  ///< the endpoint's path goes behind its own
    std::string token;       ///< the session token, sent as it stands
    std::shared_ptr<Foundation::URLSession> session;

    /// Acknowledges the push, received at this instant. Returns the message where the push asks for its content (a
    /// message, id-loaded, with a post), nothing otherwise, whatever the answer holds. Throws `Failure`, and unchanged
    /// `Foundation::URLError` of the session and `Foundation::DecodingError` of the answer. Nothing is tried again.
    std::optional<Message> send(const ChatModel::PushPayload& push, Foundation::Date receivedAt) const;
};

}  // namespace ChatPush

template <>
inline constexpr std::array<std::string_view, 2> Foundation::wireNames<ChatPush::PushAck::Platform> = {"tessel_ios",
                                                                                                       "tessel_macos"};

template <>
struct std::hash<ChatPush::PushAck::Message> {
    std::size_t operator()(const ChatPush::PushAck::Message& message) const noexcept;
};
