#include "ChatModel/Post.h"

#include <gtest/gtest.h>

#include "ChatModel/ServerJSON.h"

// clang-format off: the tables hold several short rows on a line.
using namespace ChatModel;
using namespace std::string_literals;

namespace {

/// An ordinary post, but for these members.
Post postWith(const std::string& members) {
    return ServerJSON<Post>::decode(
        R"({"id":"p","channel_id":"","root_id":"","user_id":"author","create_at":1,"update_at":1,"edit_at":0,)"
        R"("type":"","delete_at":0,"is_pinned":false,"message":"","reply_count":0,"pending_post_id":"",)" +
        members + '}');
}

/// A letter for each fact that holds.
std::string facts(const Post& post) {
    std::string letters;
    for (const auto& [letter, holds] : {
             std::pair('R', post.isRoot()), {'E', post.isEdited()}, {'D', post.isDeleted()}, {'P', post.isPending()},
             {'S', post.isSystemMessage()}, {'H', post.isEphemeral()}, {'J', post.isJoinLeaveMessage()},
             {'W', post.isFromWebhook()}, {'N', post.isNotificationSuppressed()},
             {'X', post.excludesFromChannelMessageCount()}, {'I', post.isIgnoredForReadState("u")},
             {'A', post.isInteractable()}, {'C', post.supportsReadReceipts()}})
        if (holds) letters += letter;
    return letters;
}

TEST(Post, FactsFollowFromItsMembers) {
    using Rows = std::vector<std::pair<std::string, const char*>>;
    for (const auto& [type, letters] : Rows{
             {"", "RA"}, {"system", "RA"}, {"_", "RS"}, {"_guest_join_channel", "RS"}, {"_ephemeral", "RSH"},
             {"_ephemeral_add_to_channel", "RSH"}, {"_join_leave", "RSJXI"}, {"_add_remove", "RSJXI"},
             {"_join_channel", "RSJXI"}, {"_leave_channel", "RSJXI"}, {"_join_team", "RSJXI"}, {"_leave_team", "RSJXI"},
             {"_add_to_channel", "RSJXI"}, {"_remove_from_channel", "RSJXI"}, {"_add_to_team", "RSJXI"},
             {"_remove_from_team", "RSJXI"}, {"_channel_deleted", "RSI"}, {"_channel_restored", "RSI"},
             {R"(_add_to_channel","props":{"addedUserId":"u"},"x":")", "RSJX"},
             {R"(_add_to_channel","props":{"addedUserId":"v"},"x":")", "RSJXI"},
             {R"(_add_to_team","props":{"addedUserId":"u"},"x":")", "RSJXI"}})
        EXPECT_EQ(facts(postWith(R"("type":")"s + (type[0] == '_' ? "system" : "") + type + '"')), letters) << type;
    for (const auto& [members, letters] : Rows{
             {R"("root_id":"r")", "A"}, {R"("edit_at":1)", "REA"}, {R"("edit_at":-1,"delete_at":-1)", "RA"},
             {R"("delete_at":1)", "RD"}, {R"("pending_post_id":"p")", "RP"}})
        EXPECT_EQ(facts(postWith(members)), letters) << members;
    const std::string silent = R"("silent_notification":true,"force_notification":)";
    const std::string tracked = R"("velto_read_receipts":true})";
    for (const auto& [props, letters] : Rows{
             {R"("from_webhook":"true"})", "RWA"}, {R"("from_webhook":true})", "RA"},
             {R"("from_webhook":"false"})", "RA"}, {R"("silent_notification":"true"})", "RA"},
             {R"("silent_notification":true})", "RNXA"}, {silent + R"("false"})", "RA"}, {silent + "true}", "RA"},
             {silent + "\"\"}", "RNXA"}, {silent + "false}", "RNXA"}, {tracked, "RAC"},
             {R"("velto_read_receipts":"true"})", "RA"}, {tracked + R"(,"type":"x")", "RA"},
             {tracked + R"(,"delete_at":1)", "RD"}, {tracked + R"(,"pending_post_id":"p")", "RP"}})
        EXPECT_EQ(facts(postWith(R"("props":{)" + props)), letters) << props;
    for (const auto& [wide, high, made] : {std::tuple(1, 1, true), {0, 1, true}, {640, 0, true}, {1, 1, false}})
        EXPECT_EQ((PostMetadata::FileInfo{"", "", "", 0, "", wide, high, made}.isImage()), wide * high * made > 0);
}

TEST(Post, EmojiAreNamedBetweenColons) {
    const std::pair<std::string, std::set<std::string>> rows[] = {
        {":+1: :smile:", {"+1", "smile"}}, {":not a name:x:", {"x"}}, {":a:b:", {"a"}}, {":a::b_-9Z:", {"a", "b_-9Z"}},
        {"::a:", {"a"}}, {"::", {}}, {":a", {}}, {":\u00E9:", {}}, {":a.b:", {}}};
    for (const auto& [text, names] : rows)
        EXPECT_EQ(postWith(R"("message":")" + text + '"').emojiNames(), names) << text;
    const auto post = postWith(R"("message":":m:","props":{"attachments":[{"pretext":":p:","title":":t:","text":":x:",)"
                               R"("footer":":f:","fields":[{"title":":f:","value":":v:"},{"value":{"k":[":w:"]}}]},)"
                               R"({"text":":y:"}]})");
    EXPECT_EQ(post.emojiNames(), (std::set<std::string>{"m", "p", "t", "x", "v", "w", "y"}));
    const auto attached = postWith(R"("props":{"attachments":[{"color":"c","fields":[{"short":true,"value":{":k:":1}}])"
                                   R"(},{"text":"x"}]})");
    EXPECT_EQ(attached.emojiNames(), std::set<std::string>{"k"});
}

/// "joinedTeam+ id:name", by whom if anyone; the plus is for an arrival.
std::string told(const std::optional<SystemEvent>& event) {
    if (!event) return "";
    const auto person = [](const SystemEvent::Person& one) { return ' ' + std::string(one.id.value_or("?")) + ':' + one.username; };
    return std::string(name(event->kind)) + (isArrival(event->kind) ? "+" : "-") + person(event->subject) +
           (event->actor ? " by" + person(*event->actor) : "");
}

TEST(SystemEvent, TellsWhoDidWhat) {
    const std::string all = R"("username":"n","userId":"i","addedUsername":"an","addedUserId":"a",)"
                            R"("removedUsername":"rn","removedUserId":"r")";
    const std::tuple<const char*, std::string, const char*, std::set<Identifier>> rows[] = {
        {"join_channel", all, "joinedChannel+ author:n", {}}, {"join_team", all, "joinedTeam+ author:n", {}},
        {"guest_join_channel", all, "joinedChannelAsGuest+ author:n", {}}, {"join_team", "", "", {}},
        {"leave_channel", all, "leftChannel- author:n", {}}, {"leave_team", all, "leftTeam- author:n", {}},
        {"add_to_channel", all, "addedToChannel+ a:an by i:n", {"a", "i"}}, {"Join_channel", all, "", {}},
        {"add_guest_to_chan", all, "addedToChannelAsGuest+ a:an by i:n", {"a", "i"}}, {"join_leave", all, "", {}},
        {"add_to_team", all, "addedToTeam+ a:an by i:n", {"a", "i"}}, {"add_guest_to_channel", all, "", {}},
        {"remove_from_channel", all, "removedFromChannel- r:rn", {"r"}},
        {"remove_from_team", all, "removedFromTeam- r:rn", {"r"}},
        {"add_to_channel", R"("addedUsername":"an","addedUserId":1,"username":"n","userId":1)",
         "addedToChannel+ ?:an by author:n", {}}, {"add_to_channel", R"("addedUsername":"an","username":"")", "", {}},
        {"add_to_team", R"("username":"n","addedUsername":1)", "", {}}};
    for (auto [type, props, event, users] : rows) {
        const auto post = postWith(R"("type":"system_)"s + type + R"(","props":{)" + props + '}');
        EXPECT_EQ(told(post.systemEvent()), event) << type << props;
        users.insert("author");
        EXPECT_EQ(post.referencedUserIDs(), users) << type << props;
    }
}

}  // namespace
