#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "ChatModel/Identifier.h"
#include "Foundation/WireNames.h"

/// Who has read a post, as an extension of the chat server tells it. `Post::supportsReadReceipts` says which posts it
/// tracks.
namespace ChatModel::ReadReceipt {

inline constexpr std::string_view pluginID = "cn.zentari.read-receipts";

/// The property that is true in the posts it tracks.
inline constexpr std::string_view postProperty = "velto_read_receipts";

/// The websocket event that says that receipts have changed.
inline constexpr std::string_view changedEvent = "custom_cn.zentari.read-receipts_changed";

/// How many posts one request to the extension names, at most.
inline constexpr std::size_t batchSize = 50;

/// How many have read one post:
///
///     {"channel_type":"O","read":3,"total":5}
///
/// Every key is required.
struct Summary {
    std::string channelType;
    std::int64_t read = 0;   ///< the members who have read the post
    std::int64_t total = 0;  ///< the members who could read it

    friend bool operator==(const Summary&, const Summary&) = default;
};

/// A member of the post's channel:
///
///     {"id":"u1","username":"ann","name":"Ann Lee","read_at":1}
///
/// Every key is required.
struct Reader {
    Identifier id;
    std::string username;
    std::string name;         ///< to be shown, as the extension formats it
    std::int64_t readAt = 0;  ///< milliseconds since the Unix epoch

    friend bool operator==(const Reader&, const Reader&) = default;
};

/// Who has read one post and who has not. The summary's keys stand beside the lists:
///
///     {"channel_type":"O","read":1,"total":2,"readers":[{"id":"u1",…}],"unread":[{"id":"u2",…}]}
///
/// Every key is required.
struct Details {
    Summary summary;
    std::vector<Reader> readers;
    std::vector<Reader> unread;

    friend bool operator==(const Details&, const Details&) = default;
};

/// What the extension answers to a report that the user has read posts:
///
///     {"post_ids":["p1"],"unavailable_post_ids":["p2"]}
///
/// Both keys are required.
struct ReadResult {
    std::vector<Identifier> postIDs;             ///< the posts that are now recorded as read
    std::vector<Identifier> unavailablePostIDs;  ///< the posts that the extension has no receipts for

    friend bool operator==(const ReadResult&, const ReadResult&) = default;
};

/// Why the counts of a post are not known. The wire names are those of `Foundation::wireName`.
enum class NoSummary {
    acknowledged,  ///< the post was reported as read, and no counts came back
    unavailable,   ///< the extension has no receipts for the post
    failed         ///< they could not be fetched
};

/// What a client knows of one post's receipts. A post of which nothing is known yet has no state.
using State = std::variant<Summary, NoSummary>;

/// How many have read the post. The first number may exceed the second.
struct Progress {
    std::int64_t read = 0;
    std::int64_t total = 0;

    friend bool operator==(const Progress&, const Progress&) = default;
};

enum class NoProgress { loading, failed };

/// What is drawn beside one's own post.
using Mark = std::variant<Progress, NoProgress>;

/// Whether the mark answers a click: the counts open the details, a failure is tried again.
bool isInteractive(const Mark& mark);

/// The mark of a post; absent where none is drawn: beside the posts of others, where nobody could read it, and where no
/// counts are to come (`acknowledged`, `unavailable`).
std::optional<Mark> mark(const std::optional<State>& state, bool isOwn);

}  // namespace ChatModel::ReadReceipt

template <>
inline constexpr std::array<std::string_view, 3> Foundation::wireNames<ChatModel::ReadReceipt::NoSummary> = {
    "acknowledged", "unavailable", "failed"};

template <>
struct std::hash<ChatModel::ReadReceipt::Summary> {
    std::size_t operator()(const ChatModel::ReadReceipt::Summary& summary) const noexcept;
};

template <>
struct std::hash<ChatModel::ReadReceipt::Reader> {
    std::size_t operator()(const ChatModel::ReadReceipt::Reader& reader) const noexcept;
};

template <>
struct std::hash<ChatModel::ReadReceipt::Details> {
    std::size_t operator()(const ChatModel::ReadReceipt::Details& details) const noexcept;
};

template <>
struct std::hash<ChatModel::ReadReceipt::ReadResult> {
    std::size_t operator()(const ChatModel::ReadReceipt::ReadResult& result) const noexcept;
};

template <>
struct std::hash<ChatModel::ReadReceipt::Progress> {
    std::size_t operator()(const ChatModel::ReadReceipt::Progress& progress) const noexcept;
};
