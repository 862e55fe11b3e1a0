#include "DemoServer/Push.h"

#include <initializer_list>

#include "Foundation/JSONWriter.h"

namespace DemoServer {

namespace {

using Foundation::JSONWriter;

struct Text {
    const char* key;
    std::string Push::*member;
};

void writeTexts(JSONWriter& writer, const Push& push, std::initializer_list<Text> texts) {
    for (const auto& [key, member] : texts)
        if (!(push.*member).empty()) writer.key(key).value(push.*member);
}

/// Writes an object unless it turns out to be empty.
template <class Members>
void writeObject(JSONWriter& writer, const char* key, Members members) {
    JSONWriter object;
    object.beginObject();
    members(object);
    object.endObject();
    if (object.text() != "{}") writer.key(key).raw(object.text());
}

}  // namespace

std::string payload(const Push& push, const SigningKey& key, const std::string& serverID,
                    const std::string& deviceToken) {
    JSONWriter writer;
    writer.beginObject().key("type").value(push.kind).key("server_id").value(push.serverID.value_or(serverID));
    if (push.isSigned)
        writer.key("signature")
            .value(push.signature ? *push.signature : key.token(push.ackID, push.deviceToken.value_or(deviceToken)));
    writeTexts(writer, push,
               {{"ack_id", &Push::ackID},
                {"post_id", &Push::postID},
                {"channel_id", &Push::channelID},
                {"root_id", &Push::rootID},
                {"team_id", &Push::teamID},
                {"sender_id", &Push::senderID},
                {"sender_name", &Push::senderName},
                {"channel_name", &Push::channelName},
                {"override_username", &Push::overrideUsername},
                {"override_icon_url", &Push::overrideIconURL}});
    // Deliberately text: of its flags the server sends this one so.
    if (push.isFromWebhook) writer.key("from_webhook").value("true");
    writer.key("is_crt_enabled").value(push.isCollapsedThreads).key("id_loaded").value(push.isIDLoaded);
    writeObject(writer, "aps", [&](JSONWriter& aps) {
        writeObject(aps, "alert", [&](JSONWriter& alert) {
            writeTexts(alert, push, {{"title", &Push::title}, {"subtitle", &Push::subtitle}, {"body", &Push::body}});
        });
        if (push.badge) aps.key("badge").value(*push.badge);
        writeTexts(aps, push, {{"sound", &Push::sound}, {"thread-id", &Push::threadID}, {"category", &Push::category}});
    });
    return std::move(writer.endObject()).text();
}

}  // namespace DemoServer
