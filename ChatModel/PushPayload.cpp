#include "ChatModel/PushPayload.h"

#include "Foundation/Hash.h"

namespace ChatModel {

using Foundation::Dictionary;
using Foundation::find;
using Foundation::PropertyList;
using Foundation::textOrEmpty;
using Foundation::URL;

namespace {

using Kind = PushPayload::Kind;

bool flag(const Dictionary& userInfo, std::string_view key) {
    const PropertyList* value = find(userInfo, key);
    return value != nullptr && value->boolean().value_or(false);
}

std::optional<std::string> signatureIn(const Dictionary& userInfo) {
    const PropertyList* value = find(userInfo, "signature");
    const std::string* text = value == nullptr ? nullptr : value->text();
    if (text == nullptr || *text == PushPayload::noSignature) return std::nullopt;
    return *text;
}

std::optional<std::int64_t> badgeIn(const Dictionary& userInfo) {
    const PropertyList* aps = find(userInfo, "aps");
    const Dictionary* dictionary = aps == nullptr ? nullptr : aps->dictionary();
    const PropertyList* badge = dictionary == nullptr ? nullptr : find(*dictionary, "badge");
    return badge == nullptr ? std::nullopt : badge->integer();
}

}  // namespace

std::optional<PushPayload> PushPayload::make(const Dictionary& userInfo) {
    const auto kind = Foundation::fromWireName<Kind>(textOrEmpty(userInfo, "type"));
    if (!kind) return std::nullopt;
    return PushPayload{
        .kind = *kind,
        .serverID = textOrEmpty(userInfo, "server_id"),
        .serverURL = URL::parse(textOrEmpty(userInfo, "server_url")),
        .ackID = textOrEmpty(userInfo, "ack_id"),
        .signature = signatureIn(userInfo),
        .postID = textOrEmpty(userInfo, "post_id"),
        .channelID = textOrEmpty(userInfo, "channel_id"),
        .rootID = textOrEmpty(userInfo, "root_id"),
        .teamID = textOrEmpty(userInfo, "team_id"),
        .senderID = textOrEmpty(userInfo, "sender_id"),
        .senderName = textOrEmpty(userInfo, "sender_name"),
        .channelName = textOrEmpty(userInfo, "channel_name"),
        .overrideUsername = textOrEmpty(userInfo, "override_username"),
        .overrideIconURL = URL::parse(textOrEmpty(userInfo, "override_icon_url")),
        // Deliberately three readings: the server sends this flag as text, and a boolean counts as false,
        .isFromWebhook = textOrEmpty(userInfo, "from_webhook") == "true",
        // these two as booleans, where text counts as false,
        .isCollapsedThreads = flag(userInfo, "is_crt_enabled"),
        .isIDLoaded = flag(userInfo, "id_loaded"),
        .badge = badgeIn(userInfo),
        .subType = textOrEmpty(userInfo, "sub_type"),
        // and our own mark as text, anything else being true.
        .isVerified = textOrEmpty(userInfo, "verified") != "false",
    };
}

bool PushPayload::isShown(const std::optional<std::string>& openChannelID,
                          const std::optional<std::string>& openThreadID) const {
    return isReplyInThread() ? openThreadID == rootID : openChannelID == channelID;
}

bool PushPayload::isCleared(const PushPayload& clear) const {
    if (clear.isReplyInThread()) return rootID == clear.rootID || postID == clear.rootID;
    return channelID == clear.channelID && !isReplyInThread();
}

}  // namespace ChatModel

std::size_t std::hash<ChatModel::PushPayload>::operator()(const ChatModel::PushPayload& push) const noexcept {
    return Foundation::hashOf(push.kind, push.serverID, push.serverURL, push.ackID, push.signature, push.postID,
                              push.channelID, push.rootID, push.teamID, push.senderID, push.senderName,
                              push.channelName, push.overrideUsername, push.overrideIconURL, push.isFromWebhook,
                              push.isCollapsedThreads, push.isIDLoaded, push.badge, push.subType, push.isVerified);
}
