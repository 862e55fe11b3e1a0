#include <charconv>

#include "ChatModel/Channel.h"
#include "ChatModel/ChannelMember.h"
#include "ChatModel/ChannelNotificationSettings.h"
#include "ChatModel/ConversationVisibility.h"
#include "ChatModel/PushDeviceID.h"
#include "ChatModel/ServerAddress.h"
#include "ChatModel/ServerJSON.h"
#include "Foundation/JSONCoding.h"
#include "tessel/Model.h"

namespace tessel {

using ChatModel::Channel;
using ChatModel::ChannelMember;
using ChatModel::ChannelNotificationSettings;
using ChatModel::ConversationVisibility;
using ChatModel::NotifyProps;
using ChatModel::Preference;
using ChatModel::PushDeviceID;
using ChatModel::ServerJSON;
using Foundation::ByType;
using Foundation::JSONReader;
using Foundation::JSONWriter;

namespace {

void edit(JSONReader& edits, ChannelNotificationSettings& settings) {
    edits.object([&](std::string_view name, JSONReader& value) {
        if (name == "desktop")
            ByType::decode(value, settings.desktop);
        else if (name == "push")
            ByType::decode(value, settings.push);
        else if (name == "ignoresChannelMentions")
            value.read(settings.ignoresChannelMentions);
        else if (name == "isMuted")
            value.read(settings.isMuted);
        else
            refuse(std::string(name), "cannot be edited");
    });
}

void channelSettings(JSONReader& reader, JSONWriter& writer) {
    const Members members(reader);
    const auto member = members.decoded("member", ServerJSON<ChannelMember>::decode);
    const auto userProps = members.optionallyDecoded("userNotifyProps", Foundation::decodeJSON<NotifyProps>);
    const ChannelNotificationSettings read(member, userProps.value_or(NotifyProps()));
    auto settings = read;
    if (members.has("edits")) members.read("edits", [&](JSONReader& edits) { edit(edits, settings); });
    writer.beginObject().key("settings").beginObject();
    ByType::encode(writer.key("desktop"), settings.desktop);
    ByType::encode(writer.key("push"), settings.push);
    writer.key("ignoresChannelMentions").value(settings.ignoresChannelMentions);
    writer.key("isMuted").value(settings.isMuted);
    ByType::encode(writer.key("accountDesktop"), settings.accountDesktop());
    ByType::encode(writer.key("accountPush"), settings.accountPush());
    ByType::encode(writer.endObject().key("changes"), settings.changes(read));
    writer.endObject();
}

void conversationVisibility(JSONReader& reader, JSONWriter& writer) {
    const Members members(reader);
    const Channel channel = members.decoded("channel", ServerJSON<Channel>::decode);
    const auto visibility = ConversationVisibility::make(channel, members.text("currentUserID"));
    const bool shown = members.decoded("shown", Foundation::decodeJSON<bool>);
    if (visibility)
        writer.raw(ServerJSON<Preference>::encode(visibility->preference(shown)));
    else
        writer.null();
}

void serverAddress(JSONReader& reader, JSONWriter& writer) {
    writer.value(spelling(ChatModel::ServerAddress::parse(Members(reader).text("text"))));
}

/// The bytes that the member spells in hexadecimal digits of either case, two a byte.
Foundation::Data hexadecimal(const Members& members, const std::string& key) {
    const std::string text = members.text(key);
    Foundation::Data data(text.size() / 2);
    bool good = text.size() % 2 == 0;
    const char* digits = text.data();
    for (auto& byte : data) {
        good = good && std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2;
        digits += 2;
    }
    if (!good) refuse(key, "expected hexadecimal, two digits a byte");
    return data;
}

void deviceID(JSONReader& reader, JSONWriter& writer) {
    const Members members(reader);
    const PushDeviceID id{.platform = PushDeviceID::platformOfBundle(members.text("bundleID")),
                          .token = hexadecimal(members, "token")};
    writer.value(id.rawValue());
}

}  // namespace

const Operations& settingOperations() {
    static const Operations operations = {{"channel-settings", channelSettings},
                                          {"conversation-visibility", conversationVisibility},
                                          {"server-address", serverAddress},
                                          {"device-id", deviceID}};
    return operations;
}

}  // namespace tessel
