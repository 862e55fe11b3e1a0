#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <string_view>

#include "ChatModel/NotifyProps.h"
#include "Foundation/WireNames.h"

namespace ChatModel {

struct ChannelMember;

/// How the user is notified of one channel: read from the membership, edited, and turned into what has changed.
class ChannelNotificationSettings {
public:
    /// In the order in which they are offered; the wire names are the setting's values. `default` is a keyword, hence
    /// the underscore.
    enum class Level { default_, all, mention, none };

    /// The membership's settings, and the account's own for what "default" stands for. A level that is missing or
    /// unknown is `default_` in the membership.
    ChannelNotificationSettings(const ChannelMember& member, const NotifyProps& userNotifyProps);

    Level desktop;
    Level push;
    bool ignoresChannelMentions;  ///< "@channel", "@all" and "@here" do not count
    bool isMuted;

    /// The account's level. One that is missing or unknown is `mention` here, deliberately: `NotificationRules` take
    /// "all" for it.
    Level accountDesktop() const { return accountDesktop_; }
    Level accountPush() const { return accountPush_; }

    /// The membership's notify properties to be sent: those alone that differ from the settings as they were read.
    NotifyProps changes(const ChannelNotificationSettings& previous) const;

    /// The notify property that mutes a channel, or ends that.
    static NotifyProps muting(bool muted);

    friend bool operator==(const ChannelNotificationSettings&, const ChannelNotificationSettings&) = default;

private:
    Level accountDesktop_;
    Level accountPush_;
};

}  // namespace ChatModel

template <>
inline constexpr std::array<std::string_view, 4> Foundation::wireNames<ChatModel::ChannelNotificationSettings::Level> =
    {"default", "all", "mention", "none"};

template <>
struct std::hash<ChatModel::ChannelNotificationSettings> {
    std::size_t operator()(const ChatModel::ChannelNotificationSettings& settings) const noexcept;
};
