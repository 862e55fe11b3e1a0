#include "tessel/TimelineDrawing.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <variant>

#include "Foundation/UTF8.h"
#include "Text/Columns.h"

namespace tessel {

using ChatModel::Post;
using ChatModel::TimelineItem;
using ChatModel::TimelineMessage;
using Foundation::printable;
using Time::CivilTime;

namespace {

/// Of what stands in front of a message's text: its time, and two blanks.
constexpr std::size_t indent = 7;

std::string dateText(const CivilTime& time) {
    constexpr std::array months = {"January", "February", "March",     "April",   "May",      "June",
                                   "July",    "August",   "September", "October", "November", "December"};
    return std::to_string(time.day) + ' ' + months.at(time.month - 1) + ' ' + std::to_string(time.year);
}

std::string weekdayText(const CivilTime& time) {
    constexpr std::array days = {"Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday", "Sunday"};
    return days.at(time.weekday - 1);
}

std::string clockText(const CivilTime& time) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%02d:%02d", time.hour, time.minute);
    return text.data();
}

bool isSameDay(const CivilTime& one, const CivilTime& other) {
    return one.year == other.year && one.month == other.month && one.day == other.day;
}

/// The first day there is starts before the first instant there is, which lies in it.
std::int64_t instantIn(Foundation::Date day) {
    constexpr auto earliest = static_cast<double>(std::numeric_limits<std::int64_t>::min());
    return static_cast<std::int64_t>(std::max(day.secondsSince1970 * 1000, earliest));
}

/// Webhooks may bear a name of their own.
std::string authorOf(const Post& post) {
    const std::string* const name =
        post.isFromWebhook() ? ChatModel::findString(post.props, "override_username") : nullptr;
    return name != nullptr && !name->empty() ? *name : std::string(post.userID);
}

/// What is to be known of the author beside the name.
std::string remarksOn(const TimelineMessage& message) {
    std::string remarks;
    const auto add = [&](bool holds, const char* remark) {
        if (holds) remarks.append(remarks.empty() ? " (" : ", ").append(remark);
    };
    add(message.isOwn, "you");
    add(message.post.isFromWebhook(), "webhook");
    add(message.post.isSystemMessage(), "system");
    return remarks.empty() ? remarks : remarks + ')';
}

class Drawing {
public:
    Drawing(const Time::Calendar& calendar, const Screen& screen) : calendar_(calendar), screen_(screen) {}

    void operator()(Foundation::Date day) {
        const CivilTime time = calendar_.civilTime(instantIn(day));
        text_ += ruled(screen_, weekdayText(time) + ", " + dateText(time), "─", Style::dim);
    }

    void operator()(TimelineItem::NewMessages) { text_ += ruled(screen_, "new messages", "━", Style::alarming); }

    void operator()(const TimelineMessage& message) {
        const Post& post = message.post;
        const CivilTime time = calendar_.civilTime(post.createAt);
        margin_ = screen_.styled(clockText(time), Style::dim) + "  ";
        if (!message.isContinuation) addAuthor(message);
        addText(post.message, post.isSystemMessage() || post.isDeleted() ? Style::dim : Style::plain);
        if (post.isDeleted()) addText("(deleted)", Style::dim);
        for (const auto& attachment : post.messageAttachments())
            addAttachment(attachment);
        addFiles(post);
        addReactions(message);
        addDelivery(message.delivery);
        if (message.showsThreadFooter && post.replyCount > 0) addFooter(post, time);
        if (!margin_.empty()) addLine("");  // there was nothing to tell but that it is there
    }

    std::string takeText() { return std::move(text_); }

private:
    /// The columns beside the indent.
    std::size_t room() const { return screen_.columns - indent; }

    /// Adds a line; a message's first has the time in front.
    void addLine(const std::string& line) {
        if (margin_.empty())
            text_.append(line.empty() ? 0 : indent, ' ');
        else
            text_ += margin_;
        margin_.clear();
        text_.append(line).append("\n");
    }

    /// Adds a text, if there is any; `mark` stands in front of each of its lines.
    void addText(std::string_view text, Style style, const std::string& mark = "") {
        while (text.ends_with('\n') || text.ends_with('\r'))
            text.remove_suffix(1);
        if (text.empty()) return;
        for (const auto& line : wrapped(text, room() - Text::columnCount(mark)))
            addLine(mark + screen_.styled(line, style));
    }

    void addAuthor(const TimelineMessage& message) {
        const std::string remarks = remarksOn(message);
        const std::string name = cut(authorOf(message.post), room() - Text::columnCount(remarks));
        const Style style = message.isOwn ? Style::own : Style::bold;
        addLine(screen_.styled(name, style) + screen_.styled(remarks, Style::dim));
    }

    void addAttachment(const ChatModel::MessageAttachment& attachment) {
        const std::string mark = "│ ";
        const bool hasNothing = attachment.title.empty() && attachment.text.empty() && attachment.fields.empty();
        addText(attachment.pretext, Style::plain);
        addText(printable(attachment.title), Style::bold, mark);
        addText(hasNothing ? attachment.fallback : attachment.text, Style::plain, mark);
        for (const auto& field : attachment.fields)
            addText(field.title.empty() ? field.value : field.title + ": " + field.value, Style::plain, mark);
    }

    void addFiles(const Post& post) {
        std::vector<Span> files;
        for (const auto& file : post.metadata.files)
            files.push_back({'[' + cut(file.name, room() - 2) + ']', Style::dim});
        addFlow(files);
    }

    void addReactions(const TimelineMessage& message) {
        std::vector<Span> reactions;
        for (const auto& [name, count, isMarked] : message.reactions) {
            const std::string behind = ": " + std::to_string(count);
            const std::string text = ':' + cut(name, room() - behind.size() - 3) + behind;
            reactions.push_back(isMarked ? Span{'[' + text + ']', Style::marked} : Span{text, Style::plain});
        }
        addFlow(reactions);
    }

    void addDelivery(const TimelineMessage::Delivery& delivery) {
        if (const auto* failed = std::get_if<TimelineMessage::Failed>(&delivery))
            addText("not sent: " + printable(failed->message), Style::alarming);
        else if (std::get<TimelineMessage::Sending>(delivery) == TimelineMessage::Sending::pending)
            addText("being sent …", Style::dim);
    }

    void addFooter(const Post& post, const CivilTime& time) {
        std::string footer = "↳ " + std::to_string(post.replyCount) + (post.replyCount == 1 ? " reply" : " replies");
        if (post.lastReplyAt > 0) {
            const CivilTime last = calendar_.civilTime(post.lastReplyAt);
            footer += ", last at " + clockText(last);
            if (!isSameDay(last, time)) footer += " on " + dateText(last);
        }
        if (post.isFollowing.value_or(false)) footer += ", followed";
        addText(footer, Style::dim);
    }

    void addFlow(const std::vector<Span>& parts) {
        for (const auto& line : flowed(screen_, parts, room()))
            addLine(line);
    }

    const Time::Calendar& calendar_;
    const Screen& screen_;
    std::string text_;
    std::string margin_;  ///< of the message's next line, where that is its first
};

}  // namespace

std::string drawTimeline(const std::vector<TimelineItem>& items, const Time::Calendar& calendar, const Screen& screen) {
    if (items.empty()) return screen.styled("No messages.", Style::dim) + '\n';
    Drawing drawing(calendar, screen);
    for (const auto& item : items)
        std::visit(drawing, item.content);
    return drawing.takeText();
}

}  // namespace tessel
