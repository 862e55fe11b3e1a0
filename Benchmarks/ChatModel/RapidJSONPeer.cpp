#include <cmath>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include <rapidjson/document.h>

#include "Peers.h"

namespace {

using ChatModel::CustomEmoji;
using ChatModel::Identifier;
using ChatModel::JSONValue;
using ChatModel::Post;
using ChatModel::PostMetadata;
using ChatModel::Reaction;
using rapidjson::Value;

[[noreturn]] void fail(const char* expectation) {
    throw std::runtime_error(std::string("expected ") + expectation);
}

/// A key with its length, so that a member of another length is passed over at once.
template <std::size_t size>
const Value* find(const Value& object, const char (&key)[size]) {
    const auto found = object.FindMember(Value(rapidjson::StringRef(key, size - 1)));
    return found == object.MemberEnd() ? nullptr : &found->value;
}

const Value& checkedObject(const Value& value) {
    if (!value.IsObject()) fail("an object");
    return value;
}

std::string_view text(const Value& value) {
    if (!value.IsString()) fail("a text");
    return {value.GetString(), value.GetStringLength()};
}

void read(const Value& value, std::string& target) {
    target.assign(text(value));
}

void read(const Value& value, Identifier& target) {
    target = text(value);
}

void read(const Value& value, bool& target) {
    if (!value.IsBool()) fail("a boolean");
    target = value.GetBool();
}

void read(const Value& value, std::int64_t& target) {
    if (value.IsInt64()) {
        target = value.GetInt64();
        return;
    }
    const double real = value.IsDouble() ? value.GetDouble() : std::nan("");
    if (!(real >= -0x1p63 && real < 0x1p63) || real != std::trunc(real)) fail("an integer");
    target = static_cast<std::int64_t>(real);
}

JSONValue::Object propertiesOf(const Value& object);

JSONValue propertyOf(const Value& value) {
    switch (value.GetType()) {
        case rapidjson::kNullType:
            return {};
        case rapidjson::kFalseType:
        case rapidjson::kTrueType:
            return value.GetBool();
        case rapidjson::kNumberType:
            return value.GetDouble();
        case rapidjson::kStringType:
            return text(value);
        case rapidjson::kArrayType: {
            JSONValue::Array array;
            array.reserve(value.Size());
            for (const auto& element : value.GetArray())
                array.push_back(propertyOf(element));
            return array;
        }
        case rapidjson::kObjectType:
            break;
    }
    return propertiesOf(value);
}

JSONValue::Object propertiesOf(const Value& object) {
    JSONValue::Object properties;
    for (const auto& member : object.GetObject())
        properties.insert_or_assign(properties.end(), std::string(text(member.name)), propertyOf(member.value));
    return properties;
}

void read(const Value& value, JSONValue::Object& target) {
    target = propertiesOf(checkedObject(value));
}

// What stands further down is found where a template calls it by its arguments' namespace, which this is not.
void read(const Value& value, Reaction& reaction);
void read(const Value& value, CustomEmoji& emoji);
void read(const Value& value, PostMetadata::FileInfo& file);
void read(const Value& value, PostMetadata::ImageSize& size);
void read(const Value& value, PostMetadata::OpenGraph& page);
void read(const Value& value, PostMetadata::Embed& embed);
void read(const Value& value, PostMetadata& metadata);
void read(const Value& value, Post& post);

template <class Element>
void read(const Value& value, std::vector<Element>& target) {
    if (!value.IsArray()) fail("an array");
    target.reserve(value.Size());
    for (const auto& element : value.GetArray())
        read(element, target.emplace_back());
}

template <class Element>
void read(const Value& value, std::map<std::string, Element, std::less<>>& target) {
    for (const auto& member : checkedObject(value).GetObject())
        read(member.value, target.try_emplace(target.end(), std::string(text(member.name)))->second);
}

template <class Target, std::size_t size>
void readRequired(const Value& object, const char (&key)[size], Target& target) {
    const Value* const value = find(object, key);
    if (value == nullptr) fail(key);
    read(*value, target);
}

template <class Target, std::size_t size>
void readDefaulted(const Value& object, const char (&key)[size], Target& target) {
    const Value* const value = find(object, key);
    if (value != nullptr && !value->IsNull()) read(*value, target);
}

void read(const Value& value, Reaction& reaction) {
    const Value& object = checkedObject(value);
    readRequired(object, "user_id", reaction.userID);
    readRequired(object, "post_id", reaction.postID);
    readRequired(object, "emoji_name", reaction.emojiName);
    readRequired(object, "create_at", reaction.createAt);
}

void read(const Value& value, CustomEmoji& emoji) {
    const Value& object = checkedObject(value);
    readRequired(object, "id", emoji.id);
    readRequired(object, "name", emoji.name);
    readRequired(object, "creator_id", emoji.creatorID);
    readRequired(object, "update_at", emoji.updateAt);
}

void read(const Value& value, PostMetadata::FileInfo& file) {
    const Value& object = checkedObject(value);
    readRequired(object, "id", file.id);
    readRequired(object, "name", file.name);
    readRequired(object, "extension", file.fileExtension);
    readRequired(object, "size", file.size);
    readRequired(object, "mime_type", file.mimeType);
    readDefaulted(object, "width", file.width);
    readDefaulted(object, "height", file.height);
    readDefaulted(object, "has_preview_image", file.hasPreviewImage);
}

void read(const Value& value, PostMetadata::ImageSize& size) {
    const Value& object = checkedObject(value);
    readRequired(object, "width", size.width);
    readRequired(object, "height", size.height);
}

void read(const Value& value, PostMetadata::OpenGraph& page) {
    const Value& object = checkedObject(value);
    readDefaulted(object, "title", page.title);
    readDefaulted(object, "description", page.description);
    readDefaulted(object, "site_name", page.siteName);
    const Value* const images = find(object, "images");
    if (images == nullptr || images->IsNull()) return;
    if (!images->IsArray()) fail("an array");
    for (const auto& image : images->GetArray()) {
        std::string url;
        std::string secureURL;
        readRequired(checkedObject(image), "url", url);
        readDefaulted(image, "secure_url", secureURL);
        if (!page.imageURL) page.imageURL = std::move(secureURL.empty() ? url : secureURL);
    }
}

void read(const Value& value, PostMetadata::Embed& embed) {
    const Value& object = checkedObject(value);
    std::string type;
    std::string url;
    readRequired(object, "type", type);
    readDefaulted(object, "url", url);
    if (type == "opengraph") {
        PostMetadata::OpenGraph page;
        readRequired(object, "data", page);
        embed = PostMetadata::OpenGraphEmbed{std::move(url), std::move(page)};
    } else if (type == "image") {
        embed = PostMetadata::ImageEmbed{std::move(url)};
    } else if (type == "link") {
        embed = PostMetadata::LinkEmbed{std::move(url)};
    } else {
        embed = PostMetadata::OtherEmbed{std::move(type)};
    }
}

void read(const Value& value, PostMetadata& metadata) {
    const Value& object = checkedObject(value);
    readDefaulted(object, "files", metadata.files);
    readDefaulted(object, "images", metadata.images);
    readDefaulted(object, "embeds", metadata.embeds);
    readDefaulted(object, "reactions", metadata.reactions);
    readDefaulted(object, "emojis", metadata.emojis);
}

void readParticipants(const Value& object, std::vector<Identifier>& ids) {
    const Value* const list = find(object, "participant_ids");
    if (list != nullptr && !list->IsNull()) return read(*list, ids);
    const Value* const users = find(object, "participants");
    if (users == nullptr || users->IsNull()) return;
    if (!users->IsArray()) fail("an array");
    ids.reserve(users->Size());
    for (const auto& user : users->GetArray())
        readRequired(checkedObject(user), "id", ids.emplace_back());
}

void read(const Value& value, Post& post) {
    const Value& object = checkedObject(value);
    readRequired(object, "id", post.id);
    readRequired(object, "channel_id", post.channelID);
    readRequired(object, "root_id", post.rootID);
    readRequired(object, "user_id", post.userID);
    readRequired(object, "create_at", post.createAt);
    readRequired(object, "update_at", post.updateAt);
    readRequired(object, "edit_at", post.editAt);
    readRequired(object, "delete_at", post.deleteAt);
    readRequired(object, "is_pinned", post.isPinned);
    readRequired(object, "message", post.message);
    readRequired(object, "type", post.type);
    readDefaulted(object, "props", post.props);
    readRequired(object, "pending_post_id", post.pendingPostID);
    readRequired(object, "reply_count", post.replyCount);
    readDefaulted(object, "last_reply_at", post.lastReplyAt);
    const Value* const isFollowing = find(object, "is_following");
    if (isFollowing != nullptr && !isFollowing->IsNull()) read(*isFollowing, post.isFollowing.emplace());
    readParticipants(object, post.participantIDs);
    readDefaulted(object, "metadata", post.metadata);
}

}  // namespace

std::vector<Post> Peers::decodeWithRapidJSON(std::string_view json) {
    rapidjson::Document document;
    // Iterative, since a recursive parse of a text that is nested deeply enough overflows the stack.
    constexpr unsigned checks =
        rapidjson::kParseValidateEncodingFlag | rapidjson::kParseFullPrecisionFlag | rapidjson::kParseIterativeFlag;
    document.Parse<checks>(json.data(), json.size());
    if (document.HasParseError()) fail("JSON");
    std::vector<Post> posts;
    read(document, posts);
    return posts;
}
