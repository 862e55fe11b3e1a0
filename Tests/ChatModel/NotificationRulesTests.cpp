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
// Inlined, the compiler would take the two for no pair.
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace {

/// What becomes of a post of Ann's that Bob, whose identifier is "me", is notified of, but for these words:
/// "author=me;active". `allocations` counts those of the decision alone.
Decision decided(const std::string& words) {
    std::map<std::string, NotifyProps> given;
    static const std::regex word(R"((\w+)\.?(\w*)=?([^;]*))");
    for (std::sregex_iterator i(words.begin(), words.end(), word); i != std::sregex_iterator(); ++i)
        given[(*i)[1]][(*i)[2]] = (*i)[3];
    const auto is = [&](const char* name) { return given.contains(name); };
    const auto text = [&](const char* name, const char* unless = "") { return is(name) ? given[name][""] : unless; };
    JSONValue::Object props;
    for (const auto& [key, json] : given["prop"]) props[key] = ServerJSON<JSONValue>::decode(json);
    const Post post{"", "c", text("root"), text("author"), 0, 0, 0, 0, false, text("text", "*Hi*"), text("type"), props,
                    "", 0, 0, {}, {}, {}};
    const Event event{"", text("announced", "O"), "Town", text("from", "Ann"), {"x", text("mentioned")},
                      {"x", text("follower")}, is("image"), is("file")};
    Context context{{"me", "bob", {}, "", "", "", given["user"], {}},
                    Foundation::fromWireName<UserStatus>(text("status", "online")).value(),
                    ChannelMember{"c", 0, 0, 0, 0, 0, given["member"]}, {}, {}, is("threads"), is("override"),
                    NameFormat::fullName, {is("active"), text("channel"), text("thread")}};
    if (is("stranger")) context.member.reset();
    if (is("sender")) context.sender = {"ann", "ann", {}, "", "Ann", "Lee", {}, {}};
    if (const auto kind = Foundation::fromWireName<Channel::Kind>(text("kind")))
        context.channel = {"c", "", *kind, "", text("name", "Square"), "", ""};
    const Strings strings{"DM", [](auto title) { return std::string(title) + '>'; }, "?", "+pic", "+file", "+url", "+"};
    allocations = 0;
    return decide(post, event, context, strings, [](std::string_view markup) {
        return std::regex_replace(std::string(markup), std::regex("[*]"), "");
    });
}

/// Why there is no notification; nothing where there is one.
std::optional<SkipReason::Case> reason(const std::string& words) {
    const auto decision = decided(words);
    const auto* skip = std::get_if<SkipReason>(&decision);
    EXPECT_TRUE(skip == nullptr || skip->status.has_value() == (skip->kind == userStatus)) << words;
    return skip == nullptr ? std::nullopt : std::optional(skip->kind);
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
    const std::string add = "type=system_add_to_channel;prop.addedUserId=", mute = "member.mark_unread=mention;";
    const std::string force = "prop.force_notification=", silent = "prop.silent_notification=true;status=dnd;" + force;
    const std::string group = "kind=G;member.desktop=mention;", reply = "threads;root=r;", off = ";user.channel=false";
    const std::string all = group + "user.mention_keys=@all;text=@all", ignore = ";member.ignore_channel_mentions=";
    const std::string none = "user.desktop=none;", usual = "user.desktop=mention;", own = "member.desktop=mention;";
    const std::pair<std::optional<SkipReason::Case>, std::vector<std::string>> rows[] = {
        {std::nullopt,
         {"author=me;prop.from_webhook=\"true\"", add + "\"me\"", silent + "\"x\"", mute + force + "-0.5", "channel=c",
          mute + force + "\"0\"", mute + force + "true", none + "member.desktop=all", usual + "kind=G", all, "threads",
          own + "announced=D", "user.desktop=x;" + reply, group + "text=:@b*o*b:;" + reply, all + ignore + "x" + off,
          group + "prop.attachments=[{\"footer\":\"@bob\"}]", all + ignore + "on;user.mention_keys=@All",
          all + ignore + "default;user.channel=False", own + "mentioned=me;" + reply,
          "member.mark_unread=all", "active;root=r", "status=offline", reply + "follower=me",
          reply + "follower=me;active;channel=c;thread=x"}},
        {ownPost, {"author=me;prop.from_webhook=true"}}, {systemMessage, {add + "\"you\""}},
        {channelIsOpen, {group + "text=@bob;active;channel=c", "active;channel=c;root=r"}},
        {silentNotification, {silent + "1"}},
        {channelMuted, {mute + force + "0", mute + force + "false", mute + force + "\"\""}},
        {notifyLevelNone, {none + "member.desktop=", none + "member.desktop=default", none + "kind=G"}},
        {notMentioned, {usual + "announced=G", own + "kind=D", own + "mentioned=Me"}},
        {notExplicitlyMentioned,
         {group + "mentioned=me;announced=D", group + "user.mention_keys=x;text= :*x: ", all + off,
          all + " @here @channel;user.channel=true" + ignore + "on", all + ignore + "default" + off}},
        {notFollowingThread, {"user.desktop=;" + reply, usual + "kind=G;" + reply}}};
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
    const std::tuple<std::string, int, const char*> rows[] = {
        {"", title, "Town"}, {"kind=O;announced=D", title, "Square"}, {"kind=G;name=", title, "Town"},
        {"kind=P;name=;announced=D", title, "DM"}, {"announced=D", title, "DM"}, {"kind=D", title, "DM"},
        {reply, title, "Town> permalink"}, {"text=*\u00A0\n hi  u \u3000*\r\n", body, "@Ann: hi  u"},
        {"from=", body, "@?: Hi"}, {"sender", body, "@Ann Lee: Hi"}, {bot + "\"Bot\"", body, "@Ann: Hi"},
        {bot + "\"Bot\";sender;override", body, "@Bot: Hi"}, {"override;" + bot + "\"\"", body, "@Ann: Hi"},
        {picture + ";image;file", body, "@Ann+pic"}, {picture + ";file", body, "@Ann+file"}, {"text=", body, "@Ann+"},
        {picture + ";text= *\t", body, "@Ann+url"}, {attached + R"([{"text":"t","title":"t"}];text= )", body, "@Ann+"},
        {attached + R"([{},{"pretext":"p","text":"t"},{"fallback":"f"}])", body, "@Ann: p"},
        {attached + R"([{"fallback":"f","pretext":"p"}])", body, "@Ann: f"}, {"", sound, "Bing"},
        {attached + R"([{"title":"z","text":"*t*"}];image)", body, "@Ann: t"}, {is + "on" + was + "x", sound, "Bing"},
        {is + "off" + was + "true", sound, "none"}, {is + "true" + was + "on", sound, "none"},
        {is + "true" + was + usual + "b", sound, "b"}, {name + "default" + usual + "b" + was + "true", sound, "b"},
        {name + "a" + usual + "b", sound, "a"}, {name + usual + "default", sound, "Bing"}};
    for (const auto& [words, part, expected] : rows) {
        const auto made = std::get<Notification>(decided(words));
        const std::string parts[] = {made.title + (made.opensPermalink ? " permalink" : ""), made.body,
                                     made.isSilent ? "none" : made.sound};
        EXPECT_EQ(parts[part], expected) << words;
    }
    EXPECT_TRUE(isDesktopSoundEnabled(nullptr, nullptr) && desktopNotificationSound(nullptr, nullptr) == "Bing");
}

/// Whether a record hashes differently with this member changed.
template <class Record, class Value>
bool changesHash(Value Record::*member, std::type_identity_t<Value> value) {
    Record changed;
    changed.*member = std::move(value);
    return std::hash<Record>()(changed) != std::hash<Record>()(Record());
}

TEST(NotificationRules, RecordsHashAsTheyDiffer) {
    EXPECT_TRUE(changesHash(&Event::teamID, "t") && changesHash(&Event::hasOtherFile, true));
    EXPECT_TRUE(changesHash(&Focus::isAppActive, true) && changesHash(&Focus::threadID, "t"));
    EXPECT_TRUE(changesHash(&Context::status, UserStatus::away) && changesHash(&Context::focus, Focus{true, {}, {}}));
    EXPECT_TRUE(changesHash(&SkipReason::kind, noMember) && changesHash(&SkipReason::status, UserStatus::away));
    EXPECT_TRUE(changesHash(&Notification::title, "t") && changesHash(&Notification::opensPermalink, true));
}

}  // namespace
