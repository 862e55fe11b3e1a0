#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "DemoServer/SigningKey.h"

namespace DemoServer {

/// A push as the chat server sends it. A text that is empty is left out of the payload, and so is an alert or
/// an "aps" in which nothing stands.
struct Push {
    std::string kind = "message";           ///< "type": message, clear, update_badge, session or test
    std::optional<std::string> serverID{};  ///< absent: the sending server's own
    std::string ackID = "ack";

    /// Absent: a token of the server's key for `ackID` and `deviceToken`. "NO_SIGNATURE" is how a server says
    /// that it does not sign.
    std::optional<std::string> signature{};
    bool isSigned = true;                      ///< false: the key "signature" is left out
    std::optional<std::string> deviceToken{};  ///< absent: the one that the server knows

    std::string postID{};
    std::string channelID{};
    std::string rootID{};
    std::string teamID{};
    std::string senderID{};
    std::string senderName{};
    std::string channelName{};
    std::string overrideUsername{};
    std::string overrideIconURL{};
    bool isFromWebhook = false;  ///< sent as the text "true", and left out otherwise
    bool isCollapsedThreads = false;
    bool isIDLoaded = false;

    std::string title{};  ///< this and what follows stand in "aps"
    std::string subtitle{};
    std::string body{};
    std::optional<std::int64_t> badge{};
    std::string sound{};
    std::string threadID{};
    std::string category{};
};

/// The push as one compact JSON object, signed with `key`. Throws `std::invalid_argument` for text that is
/// not UTF-8.
std::string payload(const Push& push, const SigningKey& key, const std::string& serverID,
                    const std::string& deviceToken);

}  // namespace DemoServer
