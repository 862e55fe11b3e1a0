#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "ChatModel/CustomEmoji.h"
#include "ChatModel/Reaction.h"

namespace ChatModel {

/// What the server has worked out for a post:
///
///     {"files":[…],"images":{"https://…/a.png":{"width":640,"height":480}},"embeds":[…],"reactions":[…],"emojis":[…]}
///
/// Missing keys give empty lists.
struct PostMetadata {
    /// A file of the post:
    ///
    ///     {"id":"f1","name":"a.png","extension":"png","size":9,"mime_type":"image/png","width":640,"height":480,
    ///      "has_preview_image":true}
    ///
    /// The first five keys are required.
    struct FileInfo {
        Identifier id;
        std::string name;
        std::string fileExtension;
        std::int64_t size = 0;  ///< bytes
        std::string mimeType;
        std::int64_t width = 0;  ///< pixels
        std::int64_t height = 0;
        bool hasPreviewImage = false;

        /// Whether the file can be shown as a picture; its MIME type does not matter.
        bool isImage() const { return width >= 1 && height >= 1 && hasPreviewImage; }

        friend bool operator==(const FileInfo&, const FileInfo&) = default;
    };

    /// A picture's size in pixels: {"width":640,"height":480}. Both keys are required.
    struct ImageSize {
        std::int64_t width = 0;
        std::int64_t height = 0;

        friend bool operator==(const ImageSize&, const ImageSize&) = default;
    };

    /// What a linked page says of itself by the Open Graph protocol:
    ///
    ///     {"title":"…","description":"…","site_name":"…","images":[{"url":"http://…","secure_url":"https://…"}]}
    ///
    /// Missing texts are empty.
    struct OpenGraph {
        std::string title;
        std::string description;
        std::string siteName;
        std::optional<std::string> imageURL;  ///< of the first image, the secure one if it has one

        friend bool operator==(const OpenGraph&, const OpenGraph&) = default;
    };

    /// What is shown of a link, by "type": {"type":"opengraph","url":"https://…","data":{…}}. A missing "url" is empty.
    struct OpenGraphEmbed {
        std::string url;
        OpenGraph data;

        friend bool operator==(const OpenGraphEmbed&, const OpenGraphEmbed&) = default;
    };
    struct ImageEmbed {
        std::string url;

        friend bool operator==(const ImageEmbed&, const ImageEmbed&) = default;
    };
    struct LinkEmbed {
        std::string url;

        friend bool operator==(const LinkEmbed&, const LinkEmbed&) = default;
    };
    /// Of a type that this version does not know; nothing but the type is kept.
    struct OtherEmbed {
        std::string type;

        friend bool operator==(const OtherEmbed&, const OtherEmbed&) = default;
    };
    using Embed = std::variant<OpenGraphEmbed, ImageEmbed, LinkEmbed, OtherEmbed>;

    std::vector<FileInfo> files;
    std::map<std::string, ImageSize, std::less<>> images;  ///< by the picture's URL
    std::vector<Embed> embeds;
    std::vector<Reaction> reactions;
    std::vector<CustomEmoji> emojis;

    friend bool operator==(const PostMetadata&, const PostMetadata&) = default;
};

}  // namespace ChatModel

template <>
struct std::hash<ChatModel::PostMetadata::FileInfo> {
    std::size_t operator()(const ChatModel::PostMetadata::FileInfo& file) const noexcept;
};

template <>
struct std::hash<ChatModel::PostMetadata::ImageSize> {
    std::size_t operator()(const ChatModel::PostMetadata::ImageSize& size) const noexcept;
};

template <>
struct std::hash<ChatModel::PostMetadata::OpenGraph> {
    std::size_t operator()(const ChatModel::PostMetadata::OpenGraph& page) const noexcept;
};

template <>
struct std::hash<ChatModel::PostMetadata::OpenGraphEmbed> {
    std::size_t operator()(const ChatModel::PostMetadata::OpenGraphEmbed& embed) const noexcept;
};

template <>
struct std::hash<ChatModel::PostMetadata::ImageEmbed> {
    std::size_t operator()(const ChatModel::PostMetadata::ImageEmbed& embed) const noexcept;
};

template <>
struct std::hash<ChatModel::PostMetadata::LinkEmbed> {
    std::size_t operator()(const ChatModel::PostMetadata::LinkEmbed& embed) const noexcept;
};

template <>
struct std::hash<ChatModel::PostMetadata::OtherEmbed> {
    std::size_t operator()(const ChatModel::PostMetadata::OtherEmbed& embed) const noexcept;
};

template <>
struct std::hash<ChatModel::PostMetadata> {
    std::size_t operator()(const ChatModel::PostMetadata& metadata) const noexcept;
};
