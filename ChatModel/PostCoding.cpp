#include "ChatModel/EntityCoding.h"
#include "ChatModel/JSONValueCoding.h"
#include "ChatModel/Post.h"

using namespace ChatModel;
using Foundation::JSONReader;
using Foundation::JSONWriter;
using FileInfo = PostMetadata::FileInfo;
using ImageSize = PostMetadata::ImageSize;
using OpenGraph = PostMetadata::OpenGraph;
using Embed = PostMetadata::Embed;

namespace {

/// One of a page's pictures.
struct Image {
    std::string url;
    std::string secureURL;
};

}  // namespace

template <>
constexpr auto Foundation::fields<Image> = std::tuple{
    required("url", &Image::url),
    defaulted("secure_url", &Image::secureURL),
};

namespace {

/// A page's pictures, of which the first one counts; the others must be well-formed.
struct FirstImage {
    static void decode(JSONReader& reader, std::optional<std::string>& imageURL) {
        reader.array([&](JSONReader& element) {
            Image image;
            Foundation::decode(element, image);
            if (!imageURL) imageURL = image.secureURL.empty() ? image.url : image.secureURL;
        });
    }

    static void encode(JSONWriter& writer, const std::optional<std::string>& imageURL) {
        writer.beginArray();
        Within<"url">::encode(writer, *imageURL);
        writer.endArray();
    }
};

}  // namespace

template <>
constexpr auto Foundation::fields<Reaction> = std::tuple{
    required("user_id", &Reaction::userID),
    required("post_id", &Reaction::postID),
    required("emoji_name", &Reaction::emojiName),
    required("create_at", &Reaction::createAt),
};

template <>
constexpr auto Foundation::fields<CustomEmoji> = std::tuple{
    required("id", &CustomEmoji::id),
    required("name", &CustomEmoji::name),
    required("creator_id", &CustomEmoji::creatorID),
    required("update_at", &CustomEmoji::updateAt),
};

template <>
constexpr auto Foundation::fields<FileInfo> = std::tuple{
    required("id", &FileInfo::id),
    required("name", &FileInfo::name),
    required("extension", &FileInfo::fileExtension),
    required("size", &FileInfo::size),
    required("mime_type", &FileInfo::mimeType),
    defaulted("width", &FileInfo::width),
    defaulted("height", &FileInfo::height),
    defaulted("has_preview_image", &FileInfo::hasPreviewImage),
};

template <>
constexpr auto Foundation::fields<ImageSize> = std::tuple{
    required("width", &ImageSize::width),
    required("height", &ImageSize::height),
};

template <>
constexpr auto Foundation::fields<OpenGraph> = std::tuple{
    defaulted("title", &OpenGraph::title),
    defaulted("description", &OpenGraph::description),
    defaulted("site_name", &OpenGraph::siteName),
    optional<FirstImage>("images", &OpenGraph::imageURL),
};

/// "type" says what the rest is: "data" may stand in front of it.
template <>
struct Foundation::OwnCoder<Embed> {
    static void decode(JSONReader& reader, Embed& embed) {
        std::optional<std::string> type;
        std::string url;
        JSONReader::Place data = nullptr;
        reader.object([&](std::string_view key, JSONReader& value) {
            if (key == "type") {
                value.read(type.emplace());
            } else if (key == "url") {
                url.clear();
                if (!value.null()) value.read(url);
            } else if (key == "data") {
                data = value.place();
            }
        });
        if (!type) reader.failMissing("type");
        if (*type == "opengraph") {
            if (data == nullptr) reader.failMissing("data");
            OpenGraph page;
            reader.revisit(data, [&](JSONReader& value) { Foundation::decode(value, page); });
            embed = PostMetadata::OpenGraphEmbed{.url = std::move(url), .data = std::move(page)};
        } else if (*type == "image") {
            embed = PostMetadata::ImageEmbed{std::move(url)};
        } else if (*type == "link") {
            embed = PostMetadata::LinkEmbed{std::move(url)};
        } else {
            embed = PostMetadata::OtherEmbed{*std::move(type)};
        }
    }

    static void encode(JSONWriter& writer, const Embed& embed) {
        writer.beginObject().key("type");
        if (const auto* page = std::get_if<PostMetadata::OpenGraphEmbed>(&embed)) {
            writer.value("opengraph").key("url").value(page->url).key("data");
            Foundation::encode(writer, page->data);
        } else if (const auto* image = std::get_if<PostMetadata::ImageEmbed>(&embed)) {
            writer.value("image").key("url").value(image->url);
        } else if (const auto* link = std::get_if<PostMetadata::LinkEmbed>(&embed)) {
            writer.value("link").key("url").value(link->url);
        } else {
            writer.value(std::get<PostMetadata::OtherEmbed>(embed).type);
        }
        writer.endObject();
    }
};

template <>
constexpr auto Foundation::fields<PostMetadata> = std::tuple{
    defaulted("files", &PostMetadata::files),   defaulted("images", &PostMetadata::images),
    defaulted("embeds", &PostMetadata::embeds), defaulted("reactions", &PostMetadata::reactions),
    defaulted("emojis", &PostMetadata::emojis),
};

template <>
constexpr auto Foundation::fields<Post> = std::tuple{
    required("id", &Post::id),
    required("channel_id", &Post::channelID),
    required("root_id", &Post::rootID),
    required("user_id", &Post::userID),
    required("create_at", &Post::createAt),
    required("update_at", &Post::updateAt),
    required("edit_at", &Post::editAt),
    required("delete_at", &Post::deleteAt),
    required("is_pinned", &Post::isPinned),
    required("message", &Post::message),
    required("type", &Post::type),
    defaulted("props", &Post::props),
    required("pending_post_id", &Post::pendingPostID),
    required("reply_count", &Post::replyCount),
    defaulted("last_reply_at", &Post::lastReplyAt),
    optional("is_following", &Post::isFollowing),
    defaulted("participant_ids", &Post::participantIDs).orElse<EachWithin<"id">>("participants"),
    defaulted("metadata", &Post::metadata),
};

template struct ChatModel::ServerJSON<Reaction>;
template struct ChatModel::ServerJSON<CustomEmoji>;
template struct ChatModel::ServerJSON<PostMetadata>;
template struct ChatModel::ServerJSON<Post>;

std::size_t std::hash<Reaction>::operator()(const Reaction& reaction) const noexcept {
    return Foundation::hashFields(reaction);
}

std::size_t std::hash<CustomEmoji>::operator()(const CustomEmoji& emoji) const noexcept {
    return Foundation::hashFields(emoji);
}

std::size_t std::hash<FileInfo>::operator()(const FileInfo& file) const noexcept {
    return Foundation::hashFields(file);
}

std::size_t std::hash<ImageSize>::operator()(const ImageSize& size) const noexcept {
    return Foundation::hashFields(size);
}

std::size_t std::hash<OpenGraph>::operator()(const OpenGraph& page) const noexcept {
    return Foundation::hashFields(page);
}

std::size_t std::hash<PostMetadata::OpenGraphEmbed>::operator()(
    const PostMetadata::OpenGraphEmbed& embed) const noexcept {
    return Foundation::hashOf(embed.url, embed.data);
}

std::size_t std::hash<PostMetadata::ImageEmbed>::operator()(const PostMetadata::ImageEmbed& embed) const noexcept {
    return Foundation::hashOf(embed.url);
}

std::size_t std::hash<PostMetadata::LinkEmbed>::operator()(const PostMetadata::LinkEmbed& embed) const noexcept {
    return Foundation::hashOf(embed.url);
}

std::size_t std::hash<PostMetadata::OtherEmbed>::operator()(const PostMetadata::OtherEmbed& embed) const noexcept {
    return Foundation::hashOf(embed.type);
}

std::size_t std::hash<PostMetadata>::operator()(const PostMetadata& metadata) const noexcept {
    return Foundation::hashFields(metadata);
}

std::size_t std::hash<Post>::operator()(const Post& post) const noexcept {
    return Foundation::hashFields(post);
}
