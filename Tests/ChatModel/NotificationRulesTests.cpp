#include "ChatModel/NotificationRules.h"

#include <cstdlib>
#include <new>
#include <regex>

#include <gtest/gtest.h>

#include "ChatModel/ServerJSON.h"

// clang-format off: the tables hold several short rows on a line.
using namespace ChatModel;
using namespace ChatModel::NotificationRules;
using enum SkipReason::Case;

static std::size_t allocations = 0;

void* operator new(std::size_t size) {
    ++allocations;
    if (void* const memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace {

/// What becomes of a post of Ann's that Bob, whose identifier is "me", is notified of, but for these words:
/// "author=me;active". `allocations` counts those of the decision alone.
Decision decided(const std::string& words) {
    std::map<std::string, NotifyProps> given{{"text", {{"", "*Hi*"}}}, {"from", {{"", "Ann"}}},
                                             {"announced", {{"", "O"}}}, {"status", {{"", "online"}}}};
    static const std::regex word(R"((\w+)\.?(\w*)=?([^;]*))");
    for (std::sregex_iterator i(words.begin(), words.end(), word); i != std::sregex_iterator(); ++i)
        given[(*i)[1]][(*i)[2]] = (*i)[3];
    const auto is = [&](const char* name) { return given.contains(name); };
    const auto text = [&](const char* name) { return is(name) ? given[name][""] : ""; };
    const auto some = [&](const char* name) { return is(name) ? std::optional(text(name)) : std::nullopt; };
    JSONValue::Object props;
    for (const auto& [key, json] : given["prop"]) props[key] = ServerJSON<JSONValue>::decode(json);
    const Post post{"", "c", text("root"), text("author"), 0, 0, 0, 0, false, text("text"), text("type"), props,
                    "", 0, 0, {}, {}, {}};
    const Event event{"", text("announced"), "Town", text("from"), {"x", text("mentioned")}, {"x", text("follower")},
                      is("image"), is("file")};
    Context context{{"me", "bob", {}, "", "", "", given["user"], {}},
                    Foundation::fromWireName<UserStatus>(text("status")).value(),
                    ChannelMember{"c", 0, 0, 0, 0, 0, given["member"]}, {}, {}, is("threads"), is("override"),
                    is("full") ? NameFormat::fullName : NameFormat::username,
                    {is("active"), some("channel"), some("thread")}};
    if (is("stranger")) context.member.reset();
    if (is("sender")) context.sender = {"ann", "ann", {}, "", "Ann", "Lee", {}, {}};
    if (const auto kind = Foundation::fromWireName<Channel::Kind>(text("kind")))
        context.channel = {"c", "", *kind, "", is("nameless") ? "" : "Square", "", ""};
    Strings strings;
    if (is("strings")) strings = {"", [](auto title) { return std::string(title) + '>'; }, "?", "ui", "uf", "pi", "p"};
    const auto withoutAsterisks = [](std::string_view markup) {
        return std::regex_replace(std::string(markup), std::regex("[*]"), "");
    };
    allocations = 0;
    return decide(post, event, context, strings, withoutAsterisks);
}

/// Why there is no notification; nothing where there is one.
std::optional<SkipReason::Case> reason(const std::string& words) {
    const auto decision = decided(words);
    const auto* skip = std::get_if<SkipReason>(&decision);
    if (skip == nullptr) return std::nullopt;
    EXPECT_EQ(skip->status.has_value(), skip->kind == userStatus);
    return skip->kind;
}

/// In the order in which they are asked, each with what makes it hold: behind what makes a later one do, too.
const std::pair<SkipReason::Case, std::string> reasons[] = {
    {ownPost, "author=me"}, {systemMessage, "type=system_x"}, {silentNotification, "prop.silent_notification=true"},
    {noMember, "stranger"}, {channelMuted, "member.mark_unread=mention"}, {userStatus, "status=dnd"},
    {notifyLevelNone, "member.desktop=none"}, {notExplicitlyMentioned, "kind=G;member.desktop=mention"},
    {notMentioned, "member.desktop=mention"}, {notFollowingThread, "member.desktop=all;threads;root=r;follower=y"},
    {threadIsOpen, "threads;root=r;follower=me;active;thread=r"}, {channelIsOpen, "active;channel=c"}};

TEST(NotificationRules, TheFirstReasonThatHoldsDecides) {
    for (const auto& reasonOfPost : reasons) {
        const auto& [first, change] = reasonOfPost;
        for (const auto* later = &reasonOfPost; later != std::end(reasons); ++later)
            EXPECT_EQ(reason(later->second + ';' + change), first) << later->second << ';' << change;
        const bool cannotBeForced = first <= noMember && first != userStatus;
        (void)decided(change);
        EXPECT_TRUE(allocations == 0 || !cannotBeForced) << change;
        EXPECT_EQ(reason(change + ";prop.force_notification=1").has_value(), cannotBeForced) << change;
    }
}

TEST(NotificationRules, EachReasonHasItsExceptions) {
    const std::string add = "type=system_add_to_channel;prop.addedUserId=", force = "prop.force_notification=";
    const std::string silent = "prop.silent_notification=true;status=dnd;" + force, off = ";user.channel=false";
    const std::string group = "kind=G;member.desktop=mention;", reply = "threads;root=r;";
    const std::string all = group + "user.mention_keys=@all;text=@all", ignore = ";member.ignore_channel_mentions=";
    const std::string none = "user.desktop=none;", usual = "user.desktop=mention;", own = "member.desktop=mention;";
    const std::string mute = "member.mark_unread=mention;";
    const std::pair<std::optional<SkipReason::Case>, std::vector<std::string>> rows[] = {
        {std::nullopt,
         {"", "author=me;prop.from_webhook=\"true\"", add + "\"me\"", "type=system", silent + "\"x\"", silent + "true",
          mute + force + "-0.5", mute + force + "true", mute + force + "\"0\"", "member.mark_unread=all", "status=away",
          "status=offline", none + "member.desktop=all", usual + "kind=G", "member.desktop=None", "user.desktop=x",
          "user.desktop=default;" + reply, group + "text=@bob;" + reply, group + "text=@b*o*b", group + "text=:@bob:",
          group + "prop.attachments=[{\"footer\":\"@bob\"}]", all, all + ignore + "on;user.mention_keys=@All",
          all + ignore + "off" + off, all + ignore + "x" + off, all + ignore + "default", own + "announced=D",
          all + ignore + "default;user.channel=False", own + "mentioned=me", own + "mentioned=me;" + reply, "active",
          reply + "follower=me", "root=r", reply + "member.desktop=x", "channel=c;thread=r;follower=me;" + reply,
          "threads", "active;channel=d", "active;channel=d;thread=r;root=r", "active;channel=c;follower=me;" + reply,
          "active;channel=c;thread=x;follower=me;" + reply}},
        {ownPost, {"author=me;prop.from_webhook=true"}}, {silentNotification, {silent + "1"}},
        {systemMessage, {add + "\"you\"", add + "\"me\";type=system_add_to_team"}},
        {channelMuted, {mute + force + "0", mute + force + "false", mute + force + "\"\"", mute + force + "[1]"}},
        {notifyLevelNone, {none, none + "member.desktop=", none + "member.desktop=default", none + "kind=G"}},
        {notMentioned, {usual, usual + "announced=G", own + "kind=D", own + "mentioned=Me"}},
        {notExplicitlyMentioned,
         {group + "mentioned=me", group + "announced=D", group + "user.mention_keys=x;text= :*x: ", all + off,
          all + ignore + "on", all + " @here @channel;user.channel=true" + ignore + "on", all + ignore + off,
          all + ignore + "default" + off}},
        {notFollowingThread, {"user.desktop=;" + reply, usual + "kind=G;" + reply}},
        {channelIsOpen, {group + "text=@bob;active;channel=c", "active;channel=c;thread=r;root=r"}}};
    for (const auto& [expected, changes] : rows)
        for (const auto& change : changes) EXPECT_EQ(reason(change), expected) << change;
    EXPECT_EQ(decided("status=ooo"), Decision(SkipReason{userStatus, UserStatus::outOfOffice}));
}

TEST(NotificationRules, NotificationsSayWhoWroteWhatAndWhere) {
    const std::string reply = "threads;root=r;follower=me", attached = "text=;prop.attachments=";
    const std::string picture = attached + R"([{"text":""},{"image_url":"u"}])", bot = "prop.override_username=";
    const std::string is = "member.desktop_sound=", was = ";user.desktop_sound=";
    const std::string name = "member.desktop_notification_sound=", usual = ";user.desktop_notification_sound=";
    enum { title, body, sound };
    const std::tuple<std::string, int, std::string> rows[] = {
        {"", title, "Town"}, {"kind=O;announced=D", title, "Square"}, {"kind=G;nameless", title, "Town"},
        {"kind=P;nameless;announced=D", title, "Direct Message"}, {"announced=D", title, "Direct Message"},
        {"kind=D", title, "Direct Message"}, {"strings;kind=D", title, "Town"}, {"strings;announced=D", title, ""},
        {reply, title, "Reply in Town, permalink"}, {"strings;kind=P;" + reply, title, "Square>, permalink"},
        {"text=*\u00A0\n hi  u \u3000*\r\n", body, "@Ann: hi  u"}, {"from=", body, "@Someone: Hi"},
        {"from=;strings", body, "@?: Hi"}, {"sender", body, "@ann: Hi"}, {"sender;full", body, "@Ann Lee: Hi"},
        {bot + "\"Bot\"", body, "@Ann: Hi"}, {bot + "\"Bot\";sender;override", body, "@Bot: Hi"},
        {"override;" + bot + "\"\"", body, "@Ann: Hi"}, {"override;" + bot + "5", body, "@Ann: Hi"},
        {picture + ";image;file", body, "@Ann uploaded an image"}, {picture + ";image;strings", body, "@Annui"},
        {picture + ";file", body, "@Ann uploaded a file"}, {"text= \t;file;strings", body, "@Annuf"},
        {picture, body, "@Ann posted an image"}, {picture + ";text=* ;strings", body, "@Annpi"},
        {"text=", body, "@Ann posted a message"}, {attached + R"([{"title":"t"}];strings)", body, "@Annp"},
        {attached + R"([{"text":"*t*"}];image)", body, "@Ann: t"}, {attached + R"([{"text":"t"}];text=*;strings)", body, "@Annp"},
        {attached + R"([{},{"pretext":"p","text":"t"},{"fallback":"f"}])", body, "@Ann: p"},
        {attached + R"([{"fallback":"f","pretext":"p"}])", body, "@Ann: f"},
        {is + "on" + was + "false", sound, "Bing"}, {is + "off" + was + "true", sound, "none"},
        {is + "default" + was + "false", sound, "none"}, {is + "true" + was + "on", sound, "none"},
        {is + "false" + was + "true", sound, "Bing"}, {was + usual + "b", sound, "b"}, {name + "a" + usual + "b", sound, "a"},
        {name + "default" + usual + "b", sound, "b"}, {name + usual + "default", sound, "Bing"}};
    for (const auto& [words, part, expected] : rows) {
        const auto made = std::get<Notification>(decided(words));
        const std::string parts[] = {made.title + (made.opensPermalink ? ", permalink" : ""), made.body,
                                     made.isSilent ? "none" : made.sound};
        EXPECT_EQ(parts[part], expected) << words;
    }
    EXPECT_TRUE(isDesktopSoundEnabled(nullptr, nullptr) && desktopNotificationSound(nullptr, nullptr) == "Bing");
}

}  // namespace
