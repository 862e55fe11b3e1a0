#include "ChatModel/ChannelNotificationSettings.h"

#include "ChatModel/ChannelMember.h"
#include "Foundation/Hash.h"

namespace ChatModel {

namespace {

using Level = ChannelNotificationSettings::Level;

Level level(const NotifyProps& props, std::string_view name, Level otherwise) {
    return Foundation::fromWireName<Level>(setting(props, name)).value_or(otherwise);
}

bool ignoresMentions(const ChannelMember& member, const NotifyProps& userNotifyProps) {
    const std::string_view own = setting(member.notifyProps, "ignore_channel_mentions");
    if (own == "on" || own == "off") return own == "on";
    return member.isMuted() || setting(userNotifyProps, "channel") == "false";
}

}  // namespace

ChannelNotificationSettings::ChannelNotificationSettings(const ChannelMember& member,
                                                         const NotifyProps& userNotifyProps)
    : desktop(level(member.notifyProps, "desktop", Level::default_)),
      push(level(member.notifyProps, "push", Level::default_)),
      ignoresChannelMentions(ignoresMentions(member, userNotifyProps)),
      isMuted(member.isMuted()),
      accountDesktop_(level(userNotifyProps, "desktop", Level::mention)),
      accountPush_(level(userNotifyProps, "push", Level::mention)) {}

NotifyProps ChannelNotificationSettings::changes(const ChannelNotificationSettings& previous) const {
    NotifyProps changes;
    if (desktop != previous.desktop) changes["desktop"] = Foundation::wireName(desktop);
    if (push != previous.push) changes["push"] = Foundation::wireName(push);
    if (ignoresChannelMentions != previous.ignoresChannelMentions)
        changes["ignore_channel_mentions"] = ignoresChannelMentions ? "on" : "off";
    if (isMuted != previous.isMuted) changes.merge(muting(isMuted));
    return changes;
}

NotifyProps ChannelNotificationSettings::muting(bool muted) {
    return {{"mark_unread", muted ? "mention" : "all"}};
}

}  // namespace ChatModel

std::size_t std::hash<ChatModel::ChannelNotificationSettings>::operator()(
    const ChatModel::ChannelNotificationSettings& settings) const noexcept {
    return Foundation::hashOf(settings.desktop, settings.push, settings.ignoresChannelMentions, settings.isMuted,
                              settings.accountDesktop(), settings.accountPush());
}
