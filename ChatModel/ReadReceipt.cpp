#include "ChatModel/ReadReceipt.h"

#include <tuple>
#include <utility>

#include "ChatModel/EntityCoding.h"

using namespace ChatModel::ReadReceipt;

namespace {

/// What details hold beside their summary.
struct Lists {
    std::vector<Reader> readers;
    std::vector<Reader> unread;
};

}  // namespace

template <>
constexpr auto Foundation::fields<Summary> = std::tuple{
    required("channel_type", &Summary::channelType),
    required("read", &Summary::read),
    required("total", &Summary::total),
};

template <>
constexpr auto Foundation::fields<Reader> = std::tuple{
    required("id", &Reader::id),
    required("username", &Reader::username),
    required("name", &Reader::name),
    required("read_at", &Reader::readAt),
};

template <>
constexpr auto Foundation::fields<Lists> = std::tuple{
    required("readers", &Lists::readers),
    required("unread", &Lists::unread),
};

template <>
constexpr auto Foundation::fields<ReadResult> = std::tuple{
    required("post_ids", &ReadResult::postIDs),
    required("unavailable_post_ids", &ReadResult::unavailablePostIDs),
};

/// One object is read by two tables.
template <>
struct Foundation::OwnCoder<Details> {
    static void decode(JSONReader& reader, Details& details) {
        Lists lists;
        Foundation::decode(reader, details.summary);
        Foundation::decode(reader, lists);
        details.readers = std::move(lists.readers);
        details.unread = std::move(lists.unread);
    }

    static void encode(JSONWriter& writer, const Details& details) {
        writer.beginObject();
        const auto write = [&](const auto& row, const auto& record) {
            ByType::encode(writer.key(row.key), record.*(row.member));
        };
        std::apply([&](const auto&... rows) { (write(rows, details.summary), ...); }, fields<Summary>);
        const Lists lists{details.readers, details.unread};
        std::apply([&](const auto&... rows) { (write(rows, lists), ...); }, fields<Lists>);
        writer.endObject();
    }
};

namespace ChatModel::ReadReceipt {

bool isInteractive(const Mark& mark) {
    return mark != Mark(NoProgress::loading);
}

std::optional<Mark> mark(const std::optional<State>& state, bool isOwn) {
    if (!isOwn) return std::nullopt;
    if (!state) return NoProgress::loading;
    if (const auto* summary = std::get_if<Summary>(&*state)) {
        if (summary->total < 1) return std::nullopt;
        return Progress{.read = summary->read, .total = summary->total};
    }
    if (std::get<NoSummary>(*state) == NoSummary::failed) return NoProgress::failed;
    return std::nullopt;
}

}  // namespace ChatModel::ReadReceipt

template struct ChatModel::ServerJSON<Summary>;
template struct ChatModel::ServerJSON<Reader>;
template struct ChatModel::ServerJSON<Details>;
template struct ChatModel::ServerJSON<ReadResult>;

std::size_t std::hash<Summary>::operator()(const Summary& summary) const noexcept {
    return Foundation::hashFields(summary);
}

std::size_t std::hash<Reader>::operator()(const Reader& reader) const noexcept {
    return Foundation::hashFields(reader);
}

std::size_t std::hash<Details>::operator()(const Details& details) const noexcept {
    return Foundation::hashOf(details.summary, details.readers, details.unread);
}

std::size_t std::hash<ReadResult>::operator()(const ReadResult& result) const noexcept {
    return Foundation::hashFields(result);
}

std::size_t std::hash<Progress>::operator()(const Progress& progress) const noexcept {
    return Foundation::hashOf(progress.read, progress.total);
}
