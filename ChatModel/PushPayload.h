#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "Foundation/PropertyList.h"
#include "Foundation/URL.h"
#include "Foundation/WireNames.h"

namespace ChatModel {

/// One push notification, typed from its user information:
///
///     {"type":"message","server_id":"s1","ack_id":"a1","post_id":"p1","channel_id":"c1","is_crt_enabled":true,
///      "id_loaded":true,"signature":"…","aps":{"alert":{"body":"…"},"badge":3}}
///
/// Reading is lenient: a key that is missing or holds another kind gives the field's default. An immutable value by
/// convention; the fields are in the clear so that tests and views can make one.
struct PushPayload {
    enum class Kind {
        message,
        clear,        ///< a conversation was read elsewhere, and its notifications are to go
        updateBadge,  ///< nothing but the badge is news
        session,      ///< about the user's session
        test          ///< whether pushes arrive
    };

    /// The category and the action through which a notification can be answered in place.
    static constexpr std::string_view replyCategory = "CAN_REPLY";
    static constexpr std::string_view replyAction = "REPLY";

    /// The value of "signature" by which the server says that it signed nothing; it counts as no signature.
    static constexpr std::string_view noSignature = "NO_SIGNATURE";

    Kind kind;
    std::string serverID;
    std::optional<Foundation::URL> serverURL;  ///< absent also where the text is no URL
    std::string ackID;
    std::optional<std::string> signature;  ///< an empty text is a signature, if a wrong one
    std::string postID;
    std::string channelID;
    std::string rootID;  ///< the thread's root post; empty for a post that is none's reply
    std::string teamID;
    std::string senderID;
    std::string senderName;
    std::string channelName;
    std::string overrideUsername;
    std::optional<Foundation::URL> overrideIconURL;
    bool isFromWebhook = false;
    bool isCollapsedThreads = false;
    bool isIDLoaded = false;  ///< the server keeps the text back until the push is acknowledged
    std::optional<std::int64_t> badge;
    std::string subType;
    bool isVerified = true;  ///< false only where the extension has marked the push

    /// The payload in the user information; nothing where "type" names no kind.
    static std::optional<PushPayload> make(const Foundation::Dictionary& userInfo);

    /// The thread that the post belongs to: its root, or itself.
    const std::string& threadRootID() const { return rootID.empty() ? postID : rootID; }

    /// What notifications are grouped by: the thread where the server collapses threads, else the channel.
    const std::string& conversationID() const { return isReplyInThread() ? rootID : channelID; }

    /// Whether the conversation is the one on screen, given the open channel and thread; absent for none.
    bool isShown(const std::optional<std::string>& openChannelID, const std::optional<std::string>& openThreadID) const;

    /// Whether a notification made from this payload is to go when the payload `clear` arrives.
    bool isCleared(const PushPayload& clear) const;

    friend bool operator==(const PushPayload&, const PushPayload&) = default;

private:
    bool isReplyInThread() const { return isCollapsedThreads && !rootID.empty(); }
};

}  // namespace ChatModel

template <>
inline constexpr std::array<std::string_view, 5> Foundation::wireNames<ChatModel::PushPayload::Kind> = {
    "message", "clear", "update_badge", "session", "test"};

template <>
struct std::hash<ChatModel::PushPayload> {
    std::size_t operator()(const ChatModel::PushPayload& push) const noexcept;
};
