#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <variant>

#include "ChatModel/Channel.h"
#include "ChatModel/ChannelMember.h"
#include "ChatModel/Identifier.h"
#include "ChatModel/MentionKey.h"
#include "ChatModel/MentionMatcher.h"
#include "ChatModel/MentionText.h"
#include "ChatModel/NameFormat.h"
#include "ChatModel/Post.h"
#include "ChatModel/User.h"
#include "ChatModel/UserStatus.h"

/// Who is notified of a new post, how, and why not.
namespace ChatModel::NotificationRules {

/// How the server announced the post.
struct Event {
    Identifier teamID;
    std::string channelType;  ///< a wire name of `Channel::Kind`: "O", "P", "D" or "G"
    std::string channelDisplayName;
    std::string senderName;
    std::set<Identifier, std::less<>> mentions;   ///< the users who are mentioned, by identifier
    std::set<Identifier, std::less<>> followers;  ///< the users who follow the post's thread, by identifier
    bool hasImage = false;                        ///< whether the post carries a file that is an image
    bool hasOtherFile = false;                    ///< whether it carries a file that is none

    friend bool operator==(const Event&, const Event&) = default;
};

/// What the user is looking at.
struct Focus {
    bool isAppActive = false;  ///< whether the client's window is active
    std::optional<Identifier> channelID;
    std::optional<Identifier> threadID;  ///< its root post

    friend bool operator==(const Focus&, const Focus&) = default;
};

/// The user who may be notified, and what the client knows beside the post.
struct Context {
    User currentUser;
    UserStatus status = UserStatus::online;
    std::optional<ChannelMember> member;  ///< the user's membership in the post's channel
    std::optional<Channel> channel;       ///< the post's; absent where it is not known yet
    std::optional<User> sender;           ///< the post's author; absent where they are not known yet
    bool collapsedThreads = false;        ///< whether the user has replies collapsed into threads
    bool allowsUsernameOverride = false;  ///< whether integrations may post under a name of their own
    NameFormat nameFormat = NameFormat::username;
    Focus focus;

    friend bool operator==(const Context&, const Context&) = default;
};

/// Why there is no notification. The cases stand in the order of their rules, apart from the first.
struct SkipReason {
    enum class Case {
        userStatus,  ///< the user is not to be disturbed, or out of the office
        ownPost,
        systemMessage,
        silentNotification,      ///< the sender asked for none
        noMember,                ///< no membership in the channel is known
        channelMuted,            ///< by the user
        notifyLevelNone,         ///< the user wants none here
        notExplicitlyMentioned,  ///< in a group, whose text is what tells
        notMentioned,            ///< elsewhere, as the event tells
        notFollowingThread,
        threadIsOpen,  ///< on screen, in the active window; below likewise
        channelIsOpen
    };

    Case kind = Case::ownPost;
    std::optional<UserStatus> status = std::nullopt;  ///< of `userStatus`; absent in all other cases

    friend bool operator==(const SkipReason&, const SkipReason&) = default;
};

/// What the client shows; its texts are plain.
struct Notification {
    std::string title;
    std::string body;
    bool isSilent = false;
    std::string sound;            ///< the name of the sound to play, where it is not silent
    bool opensPermalink = false;  ///< whether a click opens the post's thread instead of its channel

    friend bool operator==(const Notification&, const Notification&) = default;
};

/// The notification, or why there is none.
using Decision = std::variant<Notification, SkipReason>;

/// The phrases that a person sees, in English; a client puts its own language's in their places. Those that begin with
/// a space follow a name directly.
struct Strings {
    std::string directMessage = "Direct Message";
    std::function<std::string(std::string_view title)> replyIn = [](std::string_view title) {
        return std::string("Reply in ").append(title);
    };
    std::string someone = "Someone";
    std::string uploadedImage = " uploaded an image";
    std::string uploadedFile = " uploaded a file";
    std::string postedImage = " posted an image";
    std::string posted = " posted a message";
};

/// Whether the current user is notified of the new post. The first of these that holds decides: the post is one's own,
/// or the system's; it is silenced; there is no membership; it is forced; the channel is muted; the user is not to be
/// disturbed; the level asks for nothing, or for mentions and there is none; the thread is not followed; the thread or
/// the channel is open.
///
/// Nothing is allocated for a post that is skipped for its author, its type, its silence or want of a membership.
/// Throws what `plainText` and `strings.replyIn` throw.
Decision decide(const Post& post, const Event& event, const Context& context, const Strings& strings,
                PlainText plainText);

/// Whether a notification makes a sound: as the membership in its channel says, else as the user, else it does. Null
/// stands for one that is not known.
bool isDesktopSoundEnabled(const ChannelMember* member, const User* user);

/// The name of that sound: the membership's, else the user's, else "Bing".
std::string desktopNotificationSound(const ChannelMember* member, const User* user);

}  // namespace ChatModel::NotificationRules

template <>
struct std::hash<ChatModel::NotificationRules::Event> {
    std::size_t operator()(const ChatModel::NotificationRules::Event& event) const noexcept;
};

template <>
struct std::hash<ChatModel::NotificationRules::Focus> {
    std::size_t operator()(const ChatModel::NotificationRules::Focus& focus) const noexcept;
};

template <>
struct std::hash<ChatModel::NotificationRules::Context> {
    std::size_t operator()(const ChatModel::NotificationRules::Context& context) const noexcept;
};

template <>
struct std::hash<ChatModel::NotificationRules::SkipReason> {
    std::size_t operator()(const ChatModel::NotificationRules::SkipReason& reason) const noexcept;
};

template <>
struct std::hash<ChatModel::NotificationRules::Notification> {
    std::size_t operator()(const ChatModel::NotificationRules::Notification& notification) const noexcept;
};
