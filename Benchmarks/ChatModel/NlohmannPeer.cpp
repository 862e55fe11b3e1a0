#include <cmath>
#include <stdexcept>
#include <utility>

#include <nlohmann/json.hpp>

#include "Peers.h"

// Found by the argument's namespace, as that library wants its conversions.
namespace ChatModel {

using nlohmann::json;

namespace {

/// The library's own conversion cuts fractions off and wraps what is too large.
void read(const json& value, std::int64_t& integer) {
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > INT64_MAX) throw std::out_of_range("64 bits");
    if (value.is_number_float()) {
        const auto real = value.get<double>();
        if (real < -0x1p63 || real >= 0x1p63 || real != std::trunc(real)) throw std::out_of_range("64 bits");
    }
    value.get_to(integer);
}

template <class Value>
void read(const json& value, Value& target) {
    value.get_to(target);
}

template <class Value>
void readRequired(const json& object, const char* key, Value& target) {
    read(object.at(key), target);
}

template <class Value>
void readDefaulted(const json& object, const char* key, Value& target) {
    const auto found = object.find(key);
    if (found != object.end() && !found->is_null()) read(*found, target);
}

}  // namespace

static void from_json(const json& value, Identifier& target) {
    target = value.get_ref<const std::string&>();
}

static void from_json(const json& value, JSONValue& target) {
    switch (value.type()) {
        case json::value_t::boolean:
            target = value.get<bool>();
            break;
        case json::value_t::number_integer:
        case json::value_t::number_unsigned:
        case json::value_t::number_float:
            target = value.get<double>();
            break;
        case json::value_t::string:
            target = value.get_ref<const std::string&>();
            break;
        case json::value_t::array:
            target = value.get<JSONValue::Array>();
            break;
        case json::value_t::object:
            target = value.get<JSONValue::Object>();
            break;
        default:
            target = JSONValue();
    }
}

static void from_json(const json& object, Reaction& reaction) {
    readRequired(object, "user_id", reaction.userID);
    readRequired(object, "post_id", reaction.postID);
    readRequired(object, "emoji_name", reaction.emojiName);
    readRequired(object, "create_at", reaction.createAt);
}

static void from_json(const json& object, CustomEmoji& emoji) {
    readRequired(object, "id", emoji.id);
    readRequired(object, "name", emoji.name);
    readRequired(object, "creator_id", emoji.creatorID);
    readRequired(object, "update_at", emoji.updateAt);
}

static void from_json(const json& object, PostMetadata::FileInfo& file) {
    readRequired(object, "id", file.id);
    readRequired(object, "name", file.name);
    readRequired(object, "extension", file.fileExtension);
    readRequired(object, "size", file.size);
    readRequired(object, "mime_type", file.mimeType);
    readDefaulted(object, "width", file.width);
    readDefaulted(object, "height", file.height);
    readDefaulted(object, "has_preview_image", file.hasPreviewImage);
}

static void from_json(const json& object, PostMetadata::ImageSize& size) {
    readRequired(object, "width", size.width);
    readRequired(object, "height", size.height);
}

static void from_json(const json& object, PostMetadata::OpenGraph& page) {
    readDefaulted(object, "title", page.title);
    readDefaulted(object, "description", page.description);
    readDefaulted(object, "site_name", page.siteName);
    const auto images = object.find("images");
    if (images == object.end() || images->is_null()) return;
    for (const auto& image : images->get_ref<const json::array_t&>()) {
        std::string url;
        std::string secureURL;
        readRequired(image, "url", url);
        readDefaulted(image, "secure_url", secureURL);
        if (!page.imageURL) page.imageURL = std::move(secureURL.empty() ? url : secureURL);
    }
}

}  // namespace ChatModel

/// A variant has no place of its own among the model's types.
template <>
struct nlohmann::adl_serializer<ChatModel::PostMetadata::Embed> {
    static void from_json(const json& object, ChatModel::PostMetadata::Embed& embed) {
        using ChatModel::PostMetadata;
        std::string url;
        auto type = object.at("type").get<std::string>();
        ChatModel::readDefaulted(object, "url", url);
        if (type == "opengraph")
            embed = PostMetadata::OpenGraphEmbed{std::move(url), object.at("data").get<PostMetadata::OpenGraph>()};
        else if (type == "image")
            embed = PostMetadata::ImageEmbed{std::move(url)};
        else if (type == "link")
            embed = PostMetadata::LinkEmbed{std::move(url)};
        else
            embed = PostMetadata::OtherEmbed{std::move(type)};
    }
};

namespace ChatModel {

static void from_json(const json& object, PostMetadata& metadata) {
    readDefaulted(object, "files", metadata.files);
    readDefaulted(object, "images", metadata.images);
    readDefaulted(object, "embeds", metadata.embeds);
    readDefaulted(object, "reactions", metadata.reactions);
    readDefaulted(object, "emojis", metadata.emojis);
}

static void from_json(const json& object, Post& post) {
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
    const auto isFollowing = object.find("is_following");
    if (isFollowing != object.end() && !isFollowing->is_null()) post.isFollowing = isFollowing->get<bool>();
    const auto ids = object.find("participant_ids");
    if (ids != object.end() && !ids->is_null()) {
        ids->get_to(post.participantIDs);
    } else if (const auto users = object.find("participants"); users != object.end() && !users->is_null()) {
        for (const auto& user : users->get_ref<const json::array_t&>())
            readRequired(user, "id", post.participantIDs.emplace_back());
    }
    readDefaulted(object, "metadata", post.metadata);
}

}  // namespace ChatModel

std::vector<ChatModel::Post> Peers::decodeWithNlohmann(std::string_view json) {
    return nlohmann::json::parse(json).get<std::vector<ChatModel::Post>>();
}
