#include "ChatModel/IdentifierCoding.h"
#include "ChatModel/NotificationRules.h"
#include "ChatModel/ServerJSON.h"
#include "Foundation/JSONCoding.h"
#include "tessel/FromServer.h"
#include "tessel/Model.h"

using namespace ChatModel::NotificationRules;

using Foundation::defaulted;
using Foundation::JSONReader;
using Foundation::JSONWriter;
using Foundation::optional;
using Foundation::required;
using tessel::FromServer;

template <>
constexpr auto Foundation::fields<Event> = std::tuple{
    defaulted("teamID", &Event::teamID),
    defaulted("channelType", &Event::channelType),
    defaulted("channelDisplayName", &Event::channelDisplayName),
    defaulted("senderName", &Event::senderName),
    defaulted("mentions", &Event::mentions),
    defaulted("followers", &Event::followers),
    defaulted("hasImage", &Event::hasImage),
    defaulted("hasOtherFile", &Event::hasOtherFile),
};

template <>
constexpr auto Foundation::fields<Focus> = std::tuple{
    defaulted("isAppActive", &Focus::isAppActive),
    optional("channelID", &Focus::channelID),
    optional("threadID", &Focus::threadID),
};

template <>
constexpr auto Foundation::fields<Context> = std::tuple{
    required<FromServer>("currentUser", &Context::currentUser),
    defaulted("status", &Context::status),
    optional<FromServer>("member", &Context::member),
    optional<FromServer>("channel", &Context::channel),
    optional<FromServer>("sender", &Context::sender),
    defaulted("collapsedThreads", &Context::collapsedThreads),
    defaulted("allowsUsernameOverride", &Context::allowsUsernameOverride),
    defaulted("nameFormat", &Context::nameFormat),
    defaulted("focus", &Context::focus),
};

template <>
constexpr auto Foundation::fields<Notification> = std::tuple{
    required("title", &Notification::title),
    required("body", &Notification::body),
    required("isSilent", &Notification::isSilent),
    required("sound", &Notification::sound),
    required("opensPermalink", &Notification::opensPermalink),
};

template <>
constexpr auto Foundation::fields<MentionKey> = std::tuple{
    required("key", &MentionKey::key),
    required("caseSensitive", &MentionKey::caseSensitive),
};

template <>
inline constexpr std::array<std::string_view, 12> Foundation::wireNames<SkipReason::Case> = {
    "userStatus",   "ownPost",         "systemMessage",          "silentNotification", "noMember",
    "channelMuted", "notifyLevelNone", "notExplicitlyMentioned", "notMentioned",       "notFollowingThread",
    "threadIsOpen", "channelIsOpen"};

namespace tessel {

namespace {

void decide(JSONReader& reader, JSONWriter& writer) {
    const Members members(reader);
    const auto post = members.decoded("post", ChatModel::ServerJSON<ChatModel::Post>::decode);
    const auto event = members.optionallyDecoded("event", Foundation::decodeJSON<Event>).value_or(Event());
    const auto context = members.decoded("context", Foundation::decodeJSON<Context>);
    const auto asItStands = [](std::string_view markup) { return std::string(markup); };
    const Decision decision = ChatModel::NotificationRules::decide(post, event, context, Strings(), asItStands);
    writer.beginObject();
    if (const auto* reason = std::get_if<SkipReason>(&decision)) {
        writer.key("skip").value(Foundation::wireName(reason->kind));
        if (reason->status) writer.key("status").value(Foundation::wireName(*reason->status));
    } else {
        Foundation::encode(writer.key("notify"), std::get<Notification>(decision));
    }
    writer.endObject();
}

void mentionKeys(JSONReader& reader, JSONWriter& writer) {
    const auto user = ChatModel::ServerJSON<ChatModel::User>::decode(reader.raw());
    Foundation::ByType::encode(writer, ChatModel::NotificationRules::mentionKeys(user));
}

void mentionMatches(JSONReader& reader, JSONWriter& writer) {
    const Members members(reader);
    const std::string text = members.text("text");
    const MentionKey key{members.text("key"), members.decoded("caseSensitive", Foundation::decodeJSON<bool>)};
    writer.value(MentionMatcher({key}).matches(text));
}

void desktopSound(JSONReader& reader, JSONWriter& writer) {
    const Members members(reader);
    const auto member = members.optionallyDecoded("member", ChatModel::ServerJSON<ChatModel::ChannelMember>::decode);
    const auto user = members.optionallyDecoded("user", ChatModel::ServerJSON<ChatModel::User>::decode);
    writer.beginObject();
    writer.key("enabled").value(isDesktopSoundEnabled(member ? &*member : nullptr, user ? &*user : nullptr));
    writer.key("sound").value(desktopNotificationSound(member ? &*member : nullptr, user ? &*user : nullptr));
    writer.endObject();
}

}  // namespace

const Operations& notificationOperations() {
    static const Operations operations = {{"decide", decide},
                                          {"mention-keys", mentionKeys},
                                          {"mention-matches", mentionMatches},
                                          {"desktop-sound", desktopSound}};
    return operations;
}

}  // namespace tessel
