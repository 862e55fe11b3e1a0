// What a client does with the posts that the server announces: whether the user is notified, with which texts, and if
// not, why.
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <string_view>
#include <variant>

#include "ChatModel/NotificationRules.h"
#include "ChatModel/Post.h"
#include "ChatModel/ServerJSON.h"

namespace {

namespace Rules = ChatModel::NotificationRules;
using ChatModel::Channel;
using ChatModel::ChannelMember;
using ChatModel::Post;
using ChatModel::ServerJSON;
using ChatModel::User;

/// The client's own conversion of markup; here emphasis alone is known.
std::string plainText(std::string_view markup) {
    std::string text(markup);
    std::erase(text, '*');
    return text;
}

/// What the client knows of the user and of the channel, as the server has sent it.
Rules::Context context() {
    return {
        .currentUser = ServerJSON<User>::decode(R"({"id":"ada","username":"ada","nickname":"","first_name":"Ada",
            "last_name":"Byron","notify_props":{"desktop":"mention","first_name":"true"}})"),
        .status = ChatModel::UserStatus::online,
        .member = ServerJSON<ChannelMember>::decode(R"({"channel_id":"town","last_viewed_at":1,"msg_count":3,
            "msg_count_root":3,"mention_count":0,"mention_count_root":0,"notify_props":{"desktop":"default"}})"),
        .channel = ServerJSON<Channel>::decode(R"({"id":"town","team_id":"t1","type":"O","name":"town",
            "display_name":"Town Square","purpose":"","header":"","create_at":1,"delete_at":0,"last_post_at":2,
            "last_root_post_at":2,"total_msg_count":3,"total_msg_count_root":3})"),
        .sender = ServerJSON<User>::decode(R"({"id":"bob","username":"bob","nickname":"","first_name":"Bob",
            "last_name":"Lee"})"),
        .nameFormat = ChatModel::NameFormat::fullName,
        .focus = {.isAppActive = true, .channelID = "off-topic", .threadID = {}},
    };
}

Post post(const std::string& message) {
    Post post = ServerJSON<Post>::decode(R"({"id":"p1","channel_id":"town","root_id":"","user_id":"bob","create_at":1,
        "update_at":1,"edit_at":0,"delete_at":0,"is_pinned":false,"message":"","type":"","props":{},
        "pending_post_id":"","reply_count":0})");
    post.message = message;
    return post;
}

void tell(const Rules::Decision& decision) {
    if (const auto* notification = std::get_if<Rules::Notification>(&decision)) {
        std::cout << notification->title << " | " << notification->body;
        std::cout << (notification->isSilent ? "" : " | sound " + notification->sound) << '\n';
    } else {
        using enum Rules::SkipReason::Case;
        const auto& reason = std::get<Rules::SkipReason>(decision);
        std::cout << (reason.kind == channelIsOpen  ? "not notified: it is on screen\n"
                      : reason.kind == notMentioned ? "not notified: nobody mentioned ada\n"
                      : reason.kind == userStatus   ? "not notified: ada is not to be disturbed\n"
                                                    : "not notified\n");
    }
}

void run() {
    Rules::Context known = context();
    Rules::Event event = {.teamID = "t1",
                          .channelType = "O",
                          .channelDisplayName = "Town Square",
                          .senderName = "bob",
                          .mentions = {"ada"},
                          .followers = {}};
    const Rules::Strings strings;
    tell(Rules::decide(post("Lunch, *Ada*?"), event, known, strings, plainText));

    event.mentions.clear();
    tell(Rules::decide(post("Lunch, anyone?"), event, known, strings, plainText));

    event.mentions = {"ada"};
    known.focus.channelID = "town";
    tell(Rules::decide(post("Lunch, *Ada*?"), event, known, strings, plainText));

    known.status = ChatModel::UserStatus::doNotDisturb;
    tell(Rules::decide(post("Lunch, *Ada*?"), event, known, strings, plainText));

    // Whether a text mentions the user can be asked for alone.
    const Rules::MentionMatcher matcher(Rules::mentionKeys(known.currentUser));
    const Post asked = post("Where is @ADA?");
    const bool isHighlighted = matcher.matches(Rules::mentionText(asked, plainText));
    std::cout << (isHighlighted ? "highlighted: " : "") << asked.message << '\n';
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
