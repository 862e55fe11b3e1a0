#include "ChatModel/ServerJSON.h"
#include "ChatModel/Timeline.h"
#include "Foundation/JSONCoding.h"
#include "tessel/Model.h"
#include "tessel/ViewInput.h"

using ChatModel::ReactionSummary;
using ChatModel::TimelineItem;
using ChatModel::TimelineMessage;
using Foundation::JSONReader;
using Foundation::JSONWriter;
using Foundation::required;

template <>
constexpr auto Foundation::fields<ReactionSummary> = std::tuple{
    required("emojiName", &ReactionSummary::emojiName),
    required("count", &ReactionSummary::count),
    required("includesCurrentUser", &ReactionSummary::includesCurrentUser),
};

namespace tessel {

namespace {

void write(JSONWriter& writer, const TimelineMessage::Delivery& delivery) {
    if (const auto* failed = std::get_if<TimelineMessage::Failed>(&delivery))
        writer.beginObject().key("failed").value(failed->message).endObject();
    else
        writer.value(Foundation::wireName(std::get<TimelineMessage::Sending>(delivery)));
}

void write(JSONWriter& writer, const TimelineMessage& message) {
    writer.beginObject();
    writer.key("postID").value(message.post.id);
    Foundation::ByType::encode(writer.key("reactions"), message.reactions);
    writer.key("isContinuation").value(message.isContinuation);
    write(writer.key("delivery"), message.delivery);
    writer.key("showsThreadFooter").value(message.showsThreadFooter);
    writer.key("isOwn").value(message.isOwn);
    writer.endObject();
}

/// In milliseconds. The first day that has some of 64 bits starts before they do: digits are appended.
void write(JSONWriter& writer, Foundation::Date day) {
    const auto seconds = static_cast<std::int64_t>(day.secondsSince1970);
    writer.raw(seconds == 0 ? "0" : std::to_string(seconds) + "000");
}

void write(JSONWriter& writer, const TimelineItem& item) {
    writer.beginObject();
    writer.key("id").value(item.id());
    if (const auto* day = std::get_if<Foundation::Date>(&item.content))
        write(writer.key("date"), *day);
    else if (const auto* message = std::get_if<TimelineMessage>(&item.content))
        write(writer.key("message"), *message);
    else
        writer.key("newMessages").value(true);
    writer.endObject();
}

void timeline(JSONReader& reader, JSONWriter& writer) {
    writer.beginArray();
    for (const auto& item : ChatModel::Timeline::items(readTimeline(reader)))
        write(writer, item);
    writer.endArray();
}

void reactions(JSONReader& reader, JSONWriter& writer) {
    const Members members(reader);
    const auto given = members.optionallyDecoded("reactions", ChatModel::ServerJSON<ChatModel::Reaction>::decodeList);
    const auto user = members.optionalText("currentUserID").value_or("");
    const auto summaries = ReactionSummary::summarize(given.value_or(std::vector<ChatModel::Reaction>()), user);
    Foundation::ByType::encode(writer, summaries);
}

}  // namespace

const Operations& timelineOperations() {
    static const Operations operations = {{"timeline", timeline}, {"reactions", reactions}};
    return operations;
}

}  // namespace tessel
