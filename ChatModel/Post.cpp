#include "ChatModel/Post.h"

#include <algorithm>

#include "ChatModel/AttachmentCoding.h"
#include "ChatModel/ReadReceipt.h"
#include "ChatModel/Words.h"

namespace ChatModel {

namespace {

constexpr std::array<std::string_view, 10> joinLeaveTypes = {
    "system_join_leave",  "system_add_remove",      "system_join_channel",   "system_leave_channel",
    "system_join_team",   "system_leave_team",      "system_add_to_channel", "system_remove_from_channel",
    "system_add_to_team", "system_remove_from_team"};

constexpr std::array<std::string_view, 2> channelLifecycleTypes = {"system_channel_deleted", "system_channel_restored"};

constexpr std::string_view attachmentsKey = "attachments";

template <std::size_t count>
bool contains(const std::array<std::string_view, count>& types, std::string_view type) {
    return std::find(types.begin(), types.end(), type) != types.end();
}

/// Whether there is a colon in any of the texts. Without one, no attachment has to be made to find that none has an
/// emoji; the colons of an object that is written out bound no name.
bool holdsColon(const JSONValue& value) {
    const auto isIn = [](std::string_view text) { return text.find(':') != std::string_view::npos; };
    if (const std::string* const text = value.stringValue()) return isIn(*text);
    if (const auto* array = std::get_if<JSONValue::Array>(&value.matched()))
        return std::any_of(array->begin(), array->end(), holdsColon);
    if (const auto* object = std::get_if<JSONValue::Object>(&value.matched()))
        return std::any_of(object->begin(), object->end(),
                           [&](const auto& member) { return isIn(member.first) || holdsColon(member.second); });
    return false;
}

void collectEmojiNames(std::string_view text, std::set<std::string>& names) {
    for (std::size_t colon = text.find(':'); colon != std::string_view::npos; colon = text.find(':', colon)) {
        const std::size_t start = colon + 1;
        const std::size_t end = NotificationRules::endOfEmojiName(text, start);
        const bool isName = end > start && end < text.size() && text[end] == ':';
        if (isName) names.emplace(text.substr(start, end - start));
        // A colon that closes no name may open one.
        colon = isName ? end + 1 : end;
    }
}

}  // namespace

bool Post::isEphemeral() const {
    return contains(ephemeralTypes, type);
}

bool Post::isJoinLeaveMessage() const {
    return contains(joinLeaveTypes, type);
}

bool Post::isFromWebhook() const {
    // Deliberately a text: the server sends no boolean here, and one would not count.
    const std::string* const flag = findString(props, "from_webhook");
    return flag != nullptr && *flag == "true";
}

bool Post::isNotificationSuppressed() const {
    if (props.empty()) return false;
    // Deliberately any text, "false" too: to force is to fill the property in.
    const std::string* const forcedBy = findString(props, "force_notification");
    if ((forcedBy != nullptr && !forcedBy->empty()) || findBool(props, "force_notification") == true) return false;
    return findBool(props, "silent_notification").value_or(false);
}

bool Post::tellsOfAddition(std::string_view addedUserID) const {
    if (type != "system_add_to_channel") return false;
    const std::string* const added = findString(props, "addedUserId");
    return added != nullptr && *added == addedUserID;
}

bool Post::excludesFromChannelMessageCount() const {
    return isJoinLeaveMessage() || isNotificationSuppressed();
}

bool Post::isIgnoredForReadState(std::string_view reader) const {
    return !tellsOfAddition(reader) && (isJoinLeaveMessage() || contains(channelLifecycleTypes, type));
}

bool Post::isInteractable() const {
    // What is ephemeral is a system message.
    return !isDeleted() && !isSystemMessage() && !isPending();
}

bool Post::supportsReadReceipts() const {
    return findBool(props, ReadReceipt::postProperty) == true && type.empty() && !isDeleted() && !isPending();
}

std::vector<MessageAttachment> Post::messageAttachments() const {
    const JSONValue* const attachments = find(props, attachmentsKey);
    return attachments == nullptr ? std::vector<MessageAttachment>() : attachmentsFrom(*attachments);
}

std::set<std::string> Post::emojiNames() const {
    std::set<std::string> names;
    const JSONValue* const attachments = find(props, attachmentsKey);
    const bool mayHaveSome = attachments != nullptr && holdsColon(*attachments);
    for (const auto& attachment : mayHaveSome ? messageAttachments() : std::vector<MessageAttachment>()) {
        for (const std::string* text : {&attachment.pretext, &attachment.title, &attachment.text})
            collectEmojiNames(*text, names);
        for (const auto& field : attachment.fields)
            collectEmojiNames(field.value, names);
    }
    collectEmojiNames(message, names);
    return names;
}

std::set<Identifier> Post::referencedUserIDs() const {
    std::set<Identifier> users = {userID};
    if (const auto event = systemEvent()) {
        if (event->subject.id) users.insert(*event->subject.id);
        if (event->actor && event->actor->id) users.insert(*event->actor->id);
    }
    return users;
}

}  // namespace ChatModel
