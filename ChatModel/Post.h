#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "ChatModel/Identifier.h"
#include "ChatModel/JSONValue.h"
#include "ChatModel/MessageAttachment.h"
#include "ChatModel/PostMetadata.h"
#include "ChatModel/SystemEvent.h"

namespace ChatModel {

/// A message in a channel:
///
///     {"id":"p1","channel_id":"c1","root_id":"","user_id":"u1","create_at":1,"update_at":1,"edit_at":0,"delete_at":0,
///      "is_pinned":false,"message":"Hi","type":"","props":{},"pending_post_id":"","reply_count":0,"last_reply_at":0,
///      "is_following":true,"participant_ids":["u2"],"metadata":{}}
///
/// Required are all keys that no remark says otherwise of. Times are milliseconds since the Unix epoch, 0 for never.
/// What can be derived is not stored.
struct Post {
    Identifier id;
    Identifier channelID;
    Identifier rootID;  ///< the thread's root post; empty for a post that is none's reply
    Identifier userID;
    std::int64_t createAt = 0;
    std::int64_t updateAt = 0;
    std::int64_t editAt = 0;
    std::int64_t deleteAt = 0;
    bool isPinned = false;
    std::string message;
    std::string type;          ///< empty for an ordinary post
    JSONValue::Object props;   ///< free properties; empty where missing
    Identifier pendingPostID;  ///< the client's identifier of the local echo that this post confirms
    std::int64_t replyCount = 0;
    std::int64_t lastReplyAt = 0;     ///< 0 where missing
    std::optional<bool> isFollowing;  ///< whether the user follows the thread; absent where that is unknown

    /// Who takes part in the thread: "participant_ids", where that is missing each "id" of "participants", else nobody.
    std::vector<Identifier> participantIDs;

    PostMetadata metadata;  ///< empty where missing

    /// The types of posts that only their recipient sees and no server keeps.
    static constexpr std::array<std::string_view, 2> ephemeralTypes = {"system_ephemeral",
                                                                       "system_ephemeral_add_to_channel"};

    bool isRoot() const { return rootID.empty(); }
    bool isEdited() const { return editAt > 0; }
    bool isDeleted() const { return deleteAt > 0; }

    /// Whether this is a local echo that the server has not confirmed yet: it bears its pending identifier.
    bool isPending() const { return id == pendingPostID; }

    bool isSystemMessage() const { return type.starts_with("system_"); }
    bool isEphemeral() const;
    bool isJoinLeaveMessage() const;
    bool isFromWebhook() const;

    /// Whether the sender asked for no notification, and did not force one all the same.
    bool isNotificationSuppressed() const;

    /// Whether the post tells this user that they have been added to the channel.
    bool tellsOfAddition(std::string_view addedUserID) const;

    /// Whether the post is left out where a channel's messages are counted.
    bool excludesFromChannelMessageCount() const;

    /// Whether the post does not make the channel unread for the user `reader`.
    bool isIgnoredForReadState(std::string_view reader) const;

    /// Whether the user can react to the post, reply to it and so on.
    bool isInteractable() const;

    /// Whether the read-receipts extension of the server tracks who has read the post.
    bool supportsReadReceipts() const;

    /// What integrations have attached, read from the properties. Empty also where any one of them is malformed.
    std::vector<MessageAttachment> messageAttachments() const;

    /// The names of the emoji (":smile:") in the message and in the attachments' texts and field values. Names do not
    /// share a colon: in ":a:b:" the name is "a".
    std::set<std::string> emojiNames() const;

    /// The change of membership that the post records; absent where it records none.
    std::optional<SystemEvent> systemEvent() const { return SystemEvent::make(*this); }

    /// The users whose names are needed to show the post: its author, and those of its system event.
    std::set<Identifier> referencedUserIDs() const;

    friend bool operator==(const Post&, const Post&) = default;
};

}  // namespace ChatModel

template <>
struct std::hash<ChatModel::Post> {
    std::size_t operator()(const ChatModel::Post& post) const noexcept;
};
