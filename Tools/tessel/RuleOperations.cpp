#include "ChatModel/Channel.h"
#include "ChatModel/IdentifierCoding.h"
#include "ChatModel/NameFormat.h"
#include "ChatModel/Post.h"
#include "ChatModel/ServerJSON.h"
#include "ChatModel/User.h"
#include "Foundation/JSONCoding.h"
#include "tessel/Model.h"

namespace tessel {

using ChatModel::Channel;
using ChatModel::CustomStatus;
using ChatModel::MessageAttachment;
using ChatModel::NameFormat;
using ChatModel::Post;
using ChatModel::Preference;
using ChatModel::ServerJSON;
using ChatModel::SystemEvent;
using ChatModel::User;
using Foundation::JSONReader;
using Foundation::JSONWriter;

namespace {

using PeerNames = std::map<ChatModel::Identifier, std::string, std::less<>>;

/// Writes a list, each element by `write(writer, element)`.
template <class List, class Write>
void writeList(JSONWriter& writer, const List& list, Write write) {
    writer.beginArray();
    for (const auto& element : list)
        write(writer, element);
    writer.endArray();
}

template <class Entity>
void writeEntity(JSONWriter& writer, const Entity& entity) {
    writer.raw(ServerJSON<Entity>::encode(entity));
}

void write(JSONWriter& writer, const SystemEvent::Person& person) {
    writer.beginObject();
    writer.key("id").value(person.id);
    writer.key("username").value(person.username);
    writer.endObject();
}

void write(JSONWriter& writer, const std::optional<SystemEvent>& event) {
    if (!event) {
        writer.null();
        return;
    }
    writer.beginObject();
    writer.key("kind").value(name(event->kind));
    writer.key("isArrival").value(isArrival(event->kind));
    write(writer.key("subject"), event->subject);
    writer.key("actor");
    if (event->actor)
        write(writer, *event->actor);
    else
        writer.null();
    writer.endObject();
}

void postFacts(JSONReader& reader, JSONWriter& writer) {
    const Members members(reader);
    const Post post = members.decoded("post", ServerJSON<Post>::decode);
    const std::string userID = members.text("userID");
    writer.beginObject();
    writer.key("isRoot").value(post.isRoot());
    writer.key("isEdited").value(post.isEdited());
    writer.key("isDeleted").value(post.isDeleted());
    writer.key("isPending").value(post.isPending());
    writer.key("isSystemMessage").value(post.isSystemMessage());
    writer.key("isEphemeral").value(post.isEphemeral());
    writer.key("isJoinLeaveMessage").value(post.isJoinLeaveMessage());
    writer.key("isFromWebhook").value(post.isFromWebhook());
    writer.key("isNotificationSuppressed").value(post.isNotificationSuppressed());
    writer.key("excludesFromChannelMessageCount").value(post.excludesFromChannelMessageCount());
    writer.key("isIgnoredForReadState").value(post.isIgnoredForReadState(userID));
    writer.key("isInteractable").value(post.isInteractable());
    writer.key("supportsReadReceipts").value(post.supportsReadReceipts());
    writeList(writer.key("messageAttachments"), post.messageAttachments(), writeEntity<MessageAttachment>);
    Foundation::ByType::encode(writer.key("emojiNames"), post.emojiNames());
    Foundation::ByType::encode(writer.key("referencedUserIDs"), post.referencedUserIDs());
    write(writer.key("systemEvent"), post.systemEvent());
    writer.endObject();
}

void systemEvent(JSONReader& reader, JSONWriter& writer) {
    write(writer, ServerJSON<Post>::decode(reader.raw()).systemEvent());
}

void nameFormat(JSONReader& reader, JSONWriter& writer) {
    const Members members(reader);
    const std::string serverSetting = members.text("serverSetting");
    const bool locked = members.decoded("locked", Foundation::decodeJSON<bool>);
    const auto preferences = members.decoded("preferences", ServerJSON<Preference>::decodeList);
    writer.value(Foundation::wireName(ChatModel::nameFormat(serverSetting, locked, preferences)));
}

void displayName(JSONReader& reader, JSONWriter& writer) {
    const Members members(reader);
    const User user = members.decoded("user", ServerJSON<User>::decode);
    writer.value(user.displayName(members.decoded("format", Foundation::decodeJSON<NameFormat>)));
}

void collapsedThreads(JSONReader& reader, JSONWriter& writer) {
    const Members members(reader);
    const auto serverSetting = members.optionalText("serverSetting");
    const auto preferences = members.decoded("preferences", ServerJSON<Preference>::decodeList);
    writer.value(Preference::collapsedThreadsEnabled(serverSetting, preferences));
}

void channelTitle(JSONReader& reader, JSONWriter& writer) {
    const Members members(reader);
    const Channel channel = members.decoded("channel", ServerJSON<Channel>::decode);
    const std::string userID = members.text("currentUserID");
    const auto peerNames = members.decoded("peerNames", Foundation::decodeJSON<PeerNames>);
    writer.beginObject();
    writer.key("directPeerID").value(channel.directPeerID(userID));
    writer.key("title").value(channel.title(userID, peerNames));
    writer.endObject();
}

void customStatusExpired(JSONReader& reader, JSONWriter& writer) {
    const Members members(reader);
    const auto status = members.decoded("customStatus", ServerJSON<CustomStatus>::decode);
    const auto at = Foundation::Date::fromRFC3339(members.text("at"));
    if (!at) refuse("at", "expected an RFC 3339 time with its offset");
    writer.value(status.isExpired(*at));
}

void attachmentRows(JSONReader& reader, JSONWriter& writer) {
    const auto attachment = ServerJSON<MessageAttachment>::decode(reader.raw());
    writeList(writer, attachment.fieldRows(),
              [](JSONWriter& rows, const auto& row) { writeList(rows, row, writeEntity<MessageAttachment::Field>); });
}

}  // namespace

const Operations& ruleOperations() {
    static const Operations operations = {{"post-facts", postFacts},
                                          {"system-event", systemEvent},
                                          {"name-format", nameFormat},
                                          {"display-name", displayName},
                                          {"collapsed-threads", collapsedThreads},
                                          {"channel-title", channelTitle},
                                          {"custom-status-expired", customStatusExpired},
                                          {"attachment-rows", attachmentRows}};
    return operations;
}

}  // namespace tessel
