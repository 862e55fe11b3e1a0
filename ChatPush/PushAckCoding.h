#pragma once

#include <tuple>

#include "ChatPush/PushAck.h"
#include "Foundation/JSONCoding.h"

/// The keys of the acknowledged message, in the server's answer as in a notification's user information.
template <>
inline constexpr auto Foundation::fields<ChatPush::PushAck::Message> = std::tuple{
    defaulted("message", &ChatPush::PushAck::Message::message),
    defaulted("channel_name", &ChatPush::PushAck::Message::channelName),
    defaulted("sender_id", &ChatPush::PushAck::Message::senderID),
    defaulted("sender_name", &ChatPush::PushAck::Message::senderName),
    defaulted("root_id", &ChatPush::PushAck::Message::rootID),
    defaulted("team_id", &ChatPush::PushAck::Message::teamID),
    defaulted("override_username", &ChatPush::PushAck::Message::overrideUsername),
    defaulted("override_icon_url", &ChatPush::PushAck::Message::overrideIconURL),
    defaulted("from_webhook", &ChatPush::PushAck::Message::fromWebhook),
};
