// A channel's messages as text: days, authors, the divider above what is unread, reactions, and what was not sent.
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <iomanip>
#include <iostream>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "ChatModel/ServerJSON.h"
#include "ChatModel/Timeline.h"
#include "Time/Calendar.h"

namespace {

namespace Timeline = ChatModel::Timeline;
using ChatModel::Post;
using ChatModel::Reaction;
using ChatModel::ServerJSON;
using ChatModel::TimelineItem;
using ChatModel::TimelineMessage;

/// What the server has sent, and one post that the client is sending: it bears its own pending identifier.
constexpr std::string_view posts = R"([
    {"id":"p2","channel_id":"town","root_id":"","user_id":"bob","create_at":1795449840000,"update_at":1,"edit_at":0,
     "delete_at":0,"is_pinned":false,"message":"The usual place","type":"","props":{},"pending_post_id":"",
     "reply_count":0},
    {"id":"p1","channel_id":"town","root_id":"","user_id":"bob","create_at":1795449720000,"update_at":1,"edit_at":0,
     "delete_at":0,"is_pinned":false,"message":"Lunch?","type":"","props":{},"pending_post_id":"","reply_count":2,
     "last_reply_at":1795450000000},
    {"id":"p3","channel_id":"town","root_id":"","user_id":"ada","create_at":1795510800000,"update_at":1,"edit_at":0,
     "delete_at":0,"is_pinned":false,"message":"I was there","type":"","props":{},"pending_post_id":"","reply_count":0},
    {"id":"p4","channel_id":"town","root_id":"","user_id":"bob","create_at":1795510860000,"update_at":1,"edit_at":0,
     "delete_at":0,"is_pinned":false,"message":"So was I","type":"","props":{},"pending_post_id":"","reply_count":0},
    {"id":"ada:1","channel_id":"town","root_id":"","user_id":"ada","create_at":1795510920000,"update_at":1,
     "edit_at":0,"delete_at":0,"is_pinned":false,"message":"At which table?","type":"","props":{},
     "pending_post_id":"ada:1","reply_count":0}])";
constexpr std::string_view reactions = R"([
    {"user_id":"ada","post_id":"p1","emoji_name":"ramen","create_at":1},
    {"user_id":"eve","post_id":"p1","emoji_name":"ramen","create_at":2}])";

Timeline::Input input() {
    Timeline::Input input;
    input.posts = ServerJSON<Post>::decodeList(posts);
    for (auto& reaction : ServerJSON<Reaction>::decodeList(reactions)) {
        const auto post = reaction.postID;
        input.reactions[post].push_back(std::move(reaction));
    }
    input.currentUserID = "ada";
    input.lastViewedAt = 1795510800000;
    input.showsThreadFooters = true;
    const auto calendar = Time::Calendar::in("Europe/Berlin");
    if (!calendar) throw std::runtime_error("the system's zone database lacks Europe/Berlin");
    input.calendar = *calendar;
    return input;
}

/// Draws a row of each kind.
class Drawing {
public:
    explicit Drawing(const Time::Calendar& calendar) : calendar_(calendar) {}

    void operator()(Foundation::Date day) const {
        const auto date = calendar_.civilTime(static_cast<std::int64_t>(day.secondsSince1970) * 1000);
        std::cout << "── " << date.day << '.' << date.month << '.' << date.year << " ──\n";
    }

    void operator()(TimelineItem::NewMessages) const { std::cout << "━━ new messages ━━\n"; }

    void operator()(const TimelineMessage& message) const {
        const Post& post = message.post;
        if (!message.isContinuation)
            std::cout << std::string_view(post.userID) << (message.isOwn ? " (you)" : "") << '\n';
        const auto time = calendar_.civilTime(post.createAt);
        std::cout << std::setfill('0') << std::setw(2) << time.hour << ':' << std::setw(2) << time.minute << "  "
                  << post.message << '\n';
        for (const auto& reaction : message.reactions)
            std::cout << "       :" << reaction.emojiName << ": " << reaction.count
                      << (reaction.includesCurrentUser ? ", yours too\n" : "\n");
        if (message.showsThreadFooter && post.replyCount > 0)
            std::cout << "       ↳ " << post.replyCount << " replies\n";
        if (const auto* failed = std::get_if<TimelineMessage::Failed>(&message.delivery))
            std::cout << "       not sent: " << failed->message << '\n';
        else if (message.delivery == TimelineMessage::Delivery(TimelineMessage::Sending::pending))
            std::cout << "       being sent …\n";
    }

private:
    const Time::Calendar& calendar_;
};

void run() {
    Timeline::Input shown = input();
    const Time::Calendar calendar = shown.calendar;
    const std::vector<TimelineItem> items = Timeline::items(std::move(shown));

    const Drawing drawing(calendar);
    for (const TimelineItem& item : items)
        std::visit(drawing, item.content);
}

}  // namespace

int main() {
    try {
        run();
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
