#include "ChatModel/Sidebar.h"

#include <gtest/gtest.h>

#include "Text/Collation.h"

// clang-format off: the tables hold several short rows on a line.
using namespace ChatModel;
using enum SidebarCategory::Sorting;

namespace {

struct SidebarTest : testing::Test {
    Sidebar::Input input{"u", false, {}, {}, {}, {{"v", "Vera"}}, {}};

    /// Adds a channel that is read to its end, and the membership in it.
    void add(const char* id, Channel::Kind kind, const char* title, NotifyProps props = {}) {
        const bool isDirect = kind == Channel::Kind::direct;
        input.channels.push_back({id, "", kind, isDirect ? "u__v" : "", title, "", "", 0, 0, 0, 0, 9, 5});
        input.members.push_back({id, 0, 9, 5, 0, 0, std::move(props)});
    }
    void category(SidebarCategory::Sorting sorting, std::vector<Identifier> ids, bool collapsed = false) {
        input.categories.push_back({"s", "t", SidebarCategory::Kind::custom, "", sorting, false, collapsed, std::move(ids)});
    }

    /// The first section's channels: "!" for unread, "@" for a mention, "x" for closed, and those seen with `selected`.
    std::string shown(const char* selected = "", std::string_view locale = "en") {
        const auto section = Sidebar::sections(input, locale).at(0);
        std::string text;
        for (const auto& one : section.channels)
            text += std::string(one.channel.id) + (one.isUnread ? "!" : "") + (one.mentionCount == 1 ? "@" : "") +
                    (one.isClosed ? "x" : "") + ' ';
        for (const auto* one : section.visibleChannels(selected)) text += one->channel.id;
        return text;
    }
};

TEST_F(SidebarTest, SortsByTheLocaleWithMutedChannelsBehind) {
    const NotifyProps muted = {{"mark_unread", "mention"}};
    add("a", {}, "z"); add("b", {}, "\u00E4"); add("c", {}, "c10"); add("d", {}, "C2"); add("e", {}, "A", muted);
    add("f", {}, "c2"); add("g", {}, "c02"); add("h", {}, "c2"); add("i", {}, "\u00E0"); add("j", {}, "\u00E1");
    category(default_, {"i", "h", "a", "b", "c", "d", "e", "f", "g", "j", "no"}); category(manual, {"a"});
    EXPECT_EQ(shown(), "j i b d g h f c a e jibdghfcae");
    EXPECT_EQ(shown("", "sv"), "j i d g h f c a b e jidghfcabe");
    for (const char* locale : {"", "xx", "en_US", "und", "no locale", "en-u-ka-bogus", "en-u-kh-true"})
        EXPECT_THROW(Sidebar::sections(input, locale), Text::UnknownLocale) << locale;
    input.categories[0].sorting = manual;
    EXPECT_EQ(shown(), "i h a b c d e f g j ihabcdefgj");
    input.members.pop_back();
    input.members.front().channelID = "no";
    input.channels.push_back(input.channels[2]);  // the last of a channel and of a membership counts
    input.channels.back().totalMsgCount = 10; input.members.push_back({"e", 0, 8, 5, 0, 0, {}});
    EXPECT_EQ(shown(), "i h b c! d e! f g ihbcdefg");
}

TEST_F(SidebarTest, SortsByAllOfATitle) {
    add("a", {}, (std::string(300, 'X') + "10").c_str()); add("b", {}, (std::string(300, 'x') + '9').c_str());
    add("c", {}, "aaaaaaabaaaa"); add("d", {}, "aaaaaaaabaaa"); add("e", {}, "aaaaaaaaazzz");
    add("f", {}, "\u770B\u7368"); add("g", {}, "\u702E\u632A");
    category(alphabetical, {"a", "b", "c", "d", "e", "f", "g"});
    EXPECT_EQ(shown(), "e d c b a g f edcbagf");
}

TEST_F(SidebarTest, SortsByRecencyOfWhatCounts) {
    for (const char* id : {"a", "b", "c", "d"}) add(id, {}, "");
    input.channels[0].lastPostAt = 5; input.channels[1].createAt = 6; input.channels[2].lastPostAt = 5;
    input.channels[3].lastPostAt = 9; input.channels[3].lastRootPostAt = 1;
    category(recent, {"c", "d", "a", "b"});
    EXPECT_EQ(shown(), "d b c a dbca");
    input.collapsedThreads = true;
    EXPECT_EQ(shown(), "b c a d bcad");
}

TEST_F(SidebarTest, TellsWhatIsUnreadAndClosed) {
    add("a", {}, ""); add("b", {}, "", {{"mark_unread", "mention"}}); add("c", {}, "", {{"mark_unread", "mention"}});
    add("d", Channel::Kind::direct, ""); add("g", Channel::Kind::group, ""); add("o", {}, "");
    for (auto& member : input.members) member.msgCount = 8;
    input.members[2].mentionCount = 1;
    input.members[3].msgCount = 9; input.members[4].msgCount = 10; input.members[4].mentionCount = -1;
    input.preferences = {{"direct_channel_show", "v", "false"}, {"group_channel_show", "g", "false"},
                         {"group_channel_show", "o", "false"}, {"group_channel_show", "v", "false"}};
    category(manual, {"a", "b", "c", "d", "g", "o"});
    EXPECT_EQ(shown("g"), "a! b c!@ dx gx o! abcgo");
    EXPECT_EQ(Sidebar::sections(input, "en")[0].channels[3].title, "Vera");
    input.categories[0].collapsed = true;
    EXPECT_EQ(shown("b"), "a! b c!@ dx gx o! abco");
    input.collapsedThreads = true;
    EXPECT_EQ(shown(), "a b c dx gx o ");
    input.channels[4].totalMsgCountRoot = 6; input.members[1].mentionCountRoot = 1;
    input.preferences[0].value = "False";
    EXPECT_EQ(shown(), "a b!@ c d g!x o bg");
}

TEST_F(SidebarTest, MovesAboutAcrossSections) {
    for (const char* id : {"a", "b", "c", "d"}) add(id, {}, "");
    input.members[0].msgCount = input.members[3].msgCount = 0;
    category(manual, {"a", "b", "a"}); category(manual, {}); category(manual, {"c", "a", "d"}, true);
    input.categories[2].kind = SidebarCategory::Kind::favorites;
    const auto sections = Sidebar::sections(input, "en");
    EXPECT_EQ(sections[0].channels[0].channel, sections[0].channels[2].channel);
    EXPECT_TRUE(sections[2].channels[1].isFavorite && !sections[0].channels[0].isFavorite);
    const auto hash = [](const auto& value) { return std::hash<std::decay_t<decltype(value)>>()(value); };
    EXPECT_NE(hash(sections[2].channels[1]), hash(sections[0].channels[0]));
    EXPECT_TRUE(hash(sections[0]) != hash(sections[2]) && hash(input) != hash(Sidebar::Input()));
    using enum Sidebar::Direction;
    const std::tuple<Sidebar::Direction, std::optional<std::string_view>, bool, const char*> rows[] = {
        {next, "a", false, "b"}, {next, "b", false, "d"}, {next, "c", false, "d"}, {previous, "a", false, "d"},
        {next, "b", true, "d"}, {previous, "c", true, "a"}, {next, "d", true, "a"}, {next, {}, false, "a"},
        {previous, "no", false, "d"}};
    for (const auto& [direction, selected, unreadOnly, id] : rows)
        EXPECT_EQ(Sidebar::adjacentChannel(sections, direction, selected, unreadOnly)->channel.id, id);
    EXPECT_EQ(Sidebar::adjacentChannel({{{}, {sections[0].channels[0]}}}, next, "a"), nullptr);
    const auto unread = Sidebar::unreadChannels(sections);
    ASSERT_EQ(unread.size(), 2U);
    EXPECT_EQ(std::string(unread[0]->channel.id).append(unread[1]->channel.id), "ad");
    input.channels[3].displayName.assign(100, 'x');
    const void* const name = input.channels[3].displayName.data();
    EXPECT_EQ(Sidebar::sections(std::move(input), "en")[2].channels[2].channel.displayName.data(), name) << "copied";
}

}  // namespace
