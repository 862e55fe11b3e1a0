#include "ChatModel/NotificationRules.h"

#include <algorithm>

#include "Foundation/Hash.h"
#include "Text/WhiteSpace.h"

namespace ChatModel::NotificationRules {

namespace {

using enum SkipReason::Case;

constexpr std::string_view direct = Foundation::wireName(Channel::Kind::direct);

std::string_view setting(const ChannelMember* member, std::string_view name) {
    return member == nullptr ? std::string_view() : ChatModel::setting(member->notifyProps, name);
}

std::string_view setting(const User* user, std::string_view name) {
    return user == nullptr ? std::string_view() : ChatModel::setting(user->notifyProps, name);
}

/// Whether a membership's setting leaves it to the user's.
bool isDefault(std::string_view value) {
    return value.empty() || value == "default";
}

bool isForced(const Post& post) {
    const JSONValue* const value = find(post.props, "force_notification");
    if (value == nullptr) return false;
    const std::string* const text = value->stringValue();
    // Deliberately a number counts here, which it does not against the silence of a post (`isNotificationSuppressed`).
    const double* const number = std::get_if<double>(&value->matched());
    return value->boolValue() == true || (number != nullptr && *number != 0) || (text != nullptr && !text->empty());
}

bool isGroup(const Context& context) {
    return context.channel && context.channel->kind == Channel::Kind::group;
}

/// The desktop level in force, as the settings spell it: a text that is no level passes for one of its own.
std::string_view desktopLevel(const Context& context) {
    const std::string_view own = setting(&*context.member, "desktop");
    if (!isDefault(own)) return own;
    const std::string_view usual = setting(&context.currentUser, "desktop");
    // Deliberately "all" where the user has set nothing: `ChannelNotificationSettings` takes "mention" there.
    if (usual.empty()) return "all";
    // A group is too small for mentions, unless they were asked for in this one.
    return usual == "mention" && isGroup(context) ? "all" : usual;
}

/// Deliberately regardless of muting, unlike `ChannelNotificationSettings`.
bool ignoresChannelMentions(const Context& context) {
    const std::string_view own = setting(&*context.member, "ignore_channel_mentions");
    return isDefault(own) ? setting(&context.currentUser, "channel") == "false" : own == "on";
}

bool isMentionedByKey(const Post& post, const Context& context, PlainText plainText) {
    auto keys = mentionKeys(context.currentUser);
    if (ignoresChannelMentions(context))
        std::erase_if(keys, [](const MentionKey& key) {
            return key.key == "@all" || key.key == "@here" || key.key == "@channel";
        });
    return mentionsAny(keys, mentionText(post, plainText));
}

/// Why the post does not notify as long as nothing is known of how it was announced.
std::optional<SkipReason::Case> reasonInPost(const Post& post, const Context& context) {
    if (post.userID == context.currentUser.id && !post.isFromWebhook()) return ownPost;
    if (post.isSystemMessage() && !post.tellsOfAddition(context.currentUser.id)) return systemMessage;
    if (post.isNotificationSuppressed()) return silentNotification;
    if (!context.member) return noMember;
    return std::nullopt;
}

std::optional<SkipReason::Case> reasonInSettings(const Post& post, const Event& event, const Context& context,
                                                 bool isThreadReply, PlainText plainText) {
    if (context.member->isMuted()) return channelMuted;
    if (context.status == UserStatus::doNotDisturb || context.status == UserStatus::outOfOffice) return userStatus;
    const std::string_view level = desktopLevel(context);
    const Identifier& user = context.currentUser.id;
    if (level == "none") return notifyLevelNone;
    if (level == "mention") {
        // In a group the text alone tells; to follow a thread is asked for at no level but "all".
        if (isGroup(context)) {
            if (!isMentionedByKey(post, context, plainText)) return notExplicitlyMentioned;
        } else if (!event.mentions.contains(user) && event.channelType != direct) {
            return notMentioned;
        }
    }
    if (isThreadReply && level == "all" && !event.followers.contains(user)) return notFollowingThread;
    return std::nullopt;
}

std::optional<SkipReason::Case> reasonOnScreen(const Post& post, const Focus& focus, bool isThreadReply) {
    if (!focus.isAppActive) return std::nullopt;
    // Deliberately the open channel does not count for a reply in a thread.
    if (isThreadReply) return focus.threadID == post.rootID ? std::optional(threadIsOpen) : std::nullopt;
    return focus.channelID == post.channelID ? std::optional(channelIsOpen) : std::nullopt;
}

std::string title(const Event& event, const Context& context, const Strings& strings, bool isThreadReply) {
    const bool isDirect =
        context.channel ? context.channel->kind == Channel::Kind::direct : event.channelType == direct;
    std::string title;
    if (isDirect)
        title = strings.directMessage;
    else if (context.channel)
        title = context.channel->displayName;
    if (title.empty()) title = event.channelType == direct ? strings.directMessage : event.channelDisplayName;
    return isThreadReply ? strings.replyIn(title) : title;
}

std::string senderName(const Post& post, const Event& event, const Context& context, const Strings& strings) {
    const std::string* const override =
        context.allowsUsernameOverride ? findString(post.props, "override_username") : nullptr;
    if (override != nullptr && !override->empty()) return *override;
    if (context.sender) return context.sender->displayName(context.nameFormat);
    return event.senderName.empty() ? strings.someone : event.senderName;
}

/// What the post says: its message, else what the first attachment that says anything says.
const std::string& message(const Post& post, const std::vector<MessageAttachment>& attachments) {
    if (!post.message.empty()) return post.message;
    for (const auto& attachment : attachments)
        for (const std::string* text : {&attachment.fallback, &attachment.pretext, &attachment.text})
            if (!text->empty()) return *text;
    return post.message;
}

std::string body(const Post& post, const Event& event, const Context& context, const Strings& strings,
                 PlainText plainText) {
    const auto attachments = post.messageAttachments();
    const std::string converted = plainText(message(post, attachments));
    const std::string_view text = Text::trimmed(converted);
    std::string body = '@' + senderName(post, event, context, strings);
    if (!text.empty()) return body.append(": ").append(text);
    if (event.hasImage) return body += strings.uploadedImage;
    if (event.hasOtherFile) return body += strings.uploadedFile;
    const auto hasImage = [](const MessageAttachment& attachment) { return !attachment.imageURL.empty(); };
    return body += std::any_of(attachments.begin(), attachments.end(), hasImage) ? strings.postedImage : strings.posted;
}

}  // namespace

Decision decide(const Post& post, const Event& event, const Context& context, const Strings& strings,
                PlainText plainText) {
    const bool isThreadReply = context.collapsedThreads && !post.isRoot();
    auto reason = reasonInPost(post, context);
    if (!reason && !isForced(post)) {
        reason = reasonInSettings(post, event, context, isThreadReply, plainText);
        if (!reason) reason = reasonOnScreen(post, context.focus, isThreadReply);
    }
    if (reason) return SkipReason{*reason, reason == userStatus ? std::optional(context.status) : std::nullopt};
    const ChannelMember* const member = &*context.member;
    return Notification{.title = title(event, context, strings, isThreadReply),
                        .body = body(post, event, context, strings, plainText),
                        .isSilent = !isDesktopSoundEnabled(member, &context.currentUser),
                        .sound = desktopNotificationSound(member, &context.currentUser),
                        .opensPermalink = isThreadReply};
}

bool isDesktopSoundEnabled(const ChannelMember* member, const User* user) {
    const std::string_view own = setting(member, "desktop_sound");
    // Deliberately the two are spelled differently, "on" and "off" in a channel, "true" and anything else in general.
    if (own == "on" || own == "off") return own == "on";
    const std::string_view usual = setting(user, "desktop_sound");
    return usual.empty() || usual == "true";
}

std::string desktopNotificationSound(const ChannelMember* member, const User* user) {
    constexpr std::string_view name = "desktop_notification_sound";
    for (const std::string_view sound : {setting(member, name), setting(user, name)})
        if (!isDefault(sound)) return std::string(sound);
    return "Bing";
}

}  // namespace ChatModel::NotificationRules

using namespace ChatModel::NotificationRules;

std::size_t std::hash<Event>::operator()(const Event& event) const noexcept {
    return Foundation::hashOf(event.teamID, event.channelType, event.channelDisplayName, event.senderName,
                              event.mentions, event.followers, event.hasImage, event.hasOtherFile);
}

std::size_t std::hash<Focus>::operator()(const Focus& focus) const noexcept {
    return Foundation::hashOf(focus.isAppActive, focus.channelID, focus.threadID);
}

std::size_t std::hash<Context>::operator()(const Context& context) const noexcept {
    return Foundation::hashOf(context.currentUser, context.status, context.member, context.channel, context.sender,
                              context.collapsedThreads, context.allowsUsernameOverride, context.nameFormat,
                              context.focus);
}

std::size_t std::hash<SkipReason>::operator()(const SkipReason& reason) const noexcept {
    return Foundation::hashOf(reason.kind, reason.status);
}

std::size_t std::hash<Notification>::operator()(const Notification& notification) const noexcept {
    return Foundation::hashOf(notification.title, notification.body, notification.isSilent, notification.sound,
                              notification.opensPermalink);
}
