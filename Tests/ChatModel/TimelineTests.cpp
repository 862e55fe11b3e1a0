#include "ChatModel/Timeline.h"

#include <limits>
#include <sstream>

#include <gtest/gtest.h>

// clang-format off: the tables hold several short rows on a line.
using namespace ChatModel;

namespace {

/// Posts as "ID TIME AUTHOR WORD…; …".
std::vector<Post> posts(const std::string& text) {
    std::vector<Post> posts;
    std::istringstream all(text);
    for (std::string one, word; std::getline(all, one, ';');) {
        std::istringstream words(one);
        Post post;
        std::string author;
        words >> word >> post.createAt >> author;
        post.id = word, post.userID = author;
        while (words >> word) {
            if (word == "hook") post.props["from_webhook"] = "true";
            if (word == "silent") post.props["silent_notification"] = true;
            if (word == "forced") post.props["force_notification"] = "x";
            if (word == "pending") post.pendingPostID = post.id;
            if (word == "reply") post.rootID = "r";
            if (word.starts_with("system_")) post.type = word;
        }
        posts.push_back(post);
    }
    return posts;
}

/// "ID*+" for one's own post that continues the one before it; then its delivery, footer and reactions.
std::string shown(const std::vector<TimelineItem>& items) {
    std::string text;
    for (const auto& item : items) {
        text += (text.empty() ? "" : " ") + item.id();
        const auto* message = std::get_if<TimelineMessage>(&item.content);
        if (message == nullptr) continue;
        text.append(message->isOwn ? "*" : "").append(message->isContinuation ? "+" : "");
        const auto* failed = std::get_if<TimelineMessage::Failed>(&message->delivery);
        if (failed != nullptr) text += "failed" + failed->message;
        if (message->delivery == TimelineMessage::Delivery(TimelineMessage::Sending::pending)) text += '?';
        text.append(message->showsThreadFooter ? "^" : "");
        for (const auto& [name, count, isMine] : message->reactions)
            text += '(' + name + std::to_string(count) + (isMine ? "*)" : ")");
    }
    return text;
}

TEST(Timeline, RowsAreDaysTheDividerAndMessages) {
    using Limits = std::numeric_limits<std::int64_t>;
    struct Row { std::string posts; std::optional<std::int64_t> viewed; std::string rows; const char* zone = "UTC"; };
    const std::string most = std::to_string(Limits::max()), least = std::to_string(Limits::min());
    const Row rows[] = {
        {"", 0, ""}, {"a 1 u", {}, "date-0 a"}, {"b 2 u;c 2 v;a 1 u;d 2 v", {}, "date-0 a b+ c d+"},
        {"a 0 u;a 1 u;a 0 v", {}, "date-0 a a a"}, {"a 1 me;b 2 me hook", {}, "date-0 a* b*"},
        {"a 0 u;b 300000 u;c 600001 u", {}, "date-0 a b+ c"}, {"a 0 u hook;b 0 u;c 0 u hook", {}, "date-0 a b c"},
        {"a 0 u system_x;b 0 u;c 0 u;d 0 u system_", {}, "date-0 a b c+ d"},
        {"a " + least + " u;b " + most + " u", 0, "date--9223372036915200 a date-9223372036828800 new-messages b"},
        {"a " + most + " u", Limits::max(), "date-9223372036828800 a"}, {"a -1 u;b 0 u", {}, "date--86400 a date-0 b"},
        // The divider.
        {"a 1 u;b 2 u;c 3 u", 1, "date-0 a new-messages b c+"}, {"a 1 u", 0, "date-0 new-messages a"},
        {"a 1 me;b 2 u;c 3 me", 0, "date-0 a* new-messages b c*"}, {"a 1 me", 0, "date-0 a*"},
        {"a 1 me hook;b 2 u", 0, "date-0 new-messages a* b"}, {"a 1 u silent;b 2 u", 0, "date-0 a new-messages b"},
        {"a 1 u silent forced;b 2 u", 0, "date-0 new-messages a b+"}, {"a 1 u silent;b 2 u silent", 0, "date-0 a b+"},
        {"a 1 me;b 2 me hook silent;c 3 me", 0, "date-0 a* b* c*"},
        {"a -1 u;b 0 u", -1, "date--86400 a date-0 new-messages b"},
        {"a 1 u;b 86400001 u", 0, "date-0 new-messages a date-86400 b"},
        // Days of other zones: over a change of year and a skipped midnight, and one that comes back for 59 minutes.
        {"a 1704047340000 u;b 1704047400000 u", {}, "date-1703961000 a date-1704047400 b", "Asia/Kolkata"},
        {"a 1541300399999 u;b 1541300400000 u", {}, "date-1541214000 a date-1541300400 b", "America/Sao_Paulo"},
        {"a 1289097000000 u;b 1289097059999 u;c 1289097060000 u;d 1289100599999 u;e 1289100600000 u", {},
         "date-1289097000 a b+ date-1289010600 c d date-1289097000 e", "America/St_Johns"}};
    for (const auto& [given, viewed, expected, zone] : rows)
        EXPECT_EQ(shown(Timeline::items({posts(given), {}, "me", viewed, {}, false, Time::Calendar::in(zone).value()})),
                  expected) << given;
}

TEST(Timeline, MessagesTellOfTheirReactionsAndTheirSending) {
    const std::pair<std::vector<Reaction>, std::string> rows[] = {  // by user, emoji and time
        {{}, ""}, {{{"a", "", "up", 2}, {"b", "", "heart", 1}, {"b", "", "up", 3}}, "(heart1)(up2)"},
        {{{"b", "", "z", 5}, {"b", "", "a", 5}, {"me", "", "z", 0}, {"b", "", "z", 0}}, "(z3*)(a1)"},
        {{{"b", "", "z", 5}, {"me", "", "a", 5}, {"me", "", "a", 4}, {"b", "", "b", 5}}, "(a2*)(z1)(b1)"}};
    for (const auto& [reactions, expected] : rows) {
        Timeline::Input input{posts("p 0 u reply;q 0 v pending;q 0 w pending;r 0 me pending reply"),
                              {{"x", {{"u", "", "no", 0}}}, {"q", reactions}}, "me", {}, {}, true, {}}, copy = input;
        copy.failedPostIDs = {{"x", "?"}, {"q", "!"}};
        for (const auto& [id, text] : copy.failedPostIDs) input.failedPostIDs[id] = text;
        EXPECT_TRUE(copy == input && std::hash<Timeline::Input>()(copy) == std::hash<Timeline::Input>()(input));
        copy.failedPostIDs["q"] = "?";
        EXPECT_NE(std::hash<Timeline::Input>()(copy), std::hash<Timeline::Input>()(input));
        const auto others = Timeline::items(copy);
        input.posts[0].message.assign(100, 'x');
        const void* const text = input.posts[0].message.data();
        const auto items = Timeline::items(std::move(input));
        EXPECT_EQ(shown(items), "date-0 p qfailed!^" + expected + " qfailed!^" + expected + " r*?");
        EXPECT_EQ(std::get<TimelineMessage>(items[1].content).post.message.data(), text) << "copied";
        EXPECT_EQ(std::get<TimelineMessage>(items[2].content).reactions, ReactionSummary::summarize(reactions, "me"));
        for (std::size_t i = 0; i < items.size(); ++i) {
            EXPECT_EQ(items[i] == others[i], i == 0 || i == 4);
            EXPECT_EQ(std::hash<TimelineItem>()(items[i]) == std::hash<TimelineItem>()(others[i]), i == 0 || i == 4);
        }
    }
    EXPECT_NE(std::hash<ReactionSummary>()({"a", 1, false}), std::hash<ReactionSummary>()({"a", 1, true}));
}

}  // namespace
