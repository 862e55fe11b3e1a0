#include <gtest/gtest.h>

#include "ChatModel/Channel.h"
#include "ChatModel/ChannelMember.h"
#include "ChatModel/ChannelNotificationSettings.h"
#include "ChatModel/ConversationVisibility.h"
#include "ChatModel/ServerAddress.h"

// clang-format off: the tables hold several short rows on a line.
using namespace ChatModel;

namespace {

TEST(ServerAddress, IsOneForWhateverWasTyped) {
    const std::pair<const char*, const char*> rows[] = {
        {"\u3000 chat.example\n", "https://chat.example"}, {"HTTP://Chat.Host:080/A/b", "http://chat.host:080/A/b"},
        {"h//A//", "https://h//A"}, {"h/a/?q=/#f/", "https://h/a"}, {"h?a@b", "https://h"}, {"h:/a@b", "https://h/a@b"},
        {"[FE80::A]:", "https://[fe80::a]"}, {"HTTPS://H%C3%89:99999/%C3%89#f", "https://h%c3%89:99999/%C3%89"}};
    for (const auto& [typed, address] : rows)
        for (const char* text : {typed, address})
            EXPECT_EQ(ServerAddress::parse(text).value_or(Foundation::URL()).absoluteString(), address) << text;
    for (const char* typed : {"", "/a", "//h", "://h", "ftp://h", "https://:80", "https:///a", "a b", "u@h",
                              "https://@h", "https://:pw@h", "mailto:a@h", "h/?u=http://x", "\u00E9.example"})
        EXPECT_FALSE(ServerAddress::parse(typed)) << typed;
}

TEST(ChannelNotificationSettings, AreReadFromBothAndSendWhatHasChangedAlone) {
    const char *const ignore = "ignore_channel_mentions", *const mark = "mark_unread";
    const NotifyProps yes = {{"channel", "true"}}, no = {{"channel", "false"}};
    const std::string none = "default default mention mention";
    const std::tuple<NotifyProps, NotifyProps, std::string, NotifyProps> rows[] = {  // what is read, and what is sent
        {{{mark, "all"}}, {}, none, {}}, {{}, yes, none, {}}, {{}, no, none + " ignoring", {{ignore, "on"}}},
        {{{"desktop", "all"}, {"push", "none"}}, {{"desktop", "none"}, {"push", "all"}}, "all none none all",
         {{"desktop", "all"}, {"push", "none"}}}, {{{ignore, "on"}}, yes, none + " ignoring", {{ignore, "on"}}},
        {{{"desktop", "Mention"}, {"push", "mention"}}, {{"desktop", "default"}}, "default mention default mention",
         {{"push", "mention"}}}, {{{ignore, "off"}, {mark, "mention"}}, no, none + " muted", {{mark, "mention"}}},
        {{{ignore, "default"}, {mark, "mention"}}, yes, none + " ignoring muted", {{ignore, "on"}, {mark, "mention"}}}};
    ChannelMember member;
    const ChannelNotificationSettings before(member, {});
    for (const auto& [channel, account, text, sent] : rows) {
        member.notifyProps = channel;
        const ChannelNotificationSettings read(member, account);
        std::string shown;
        for (const auto level : {read.desktop, read.push, read.accountDesktop(), read.accountPush()})
            shown.append(shown.empty() ? "" : " ").append(Foundation::wireName(level));
        EXPECT_EQ(shown + (read.ignoresChannelMentions ? " ignoring" : "") + (read.isMuted ? " muted" : ""), text);
        EXPECT_EQ(read.changes(before), sent) << text;
    }
    EXPECT_EQ(before.changes({member, {}}), (NotifyProps{{ignore, "off"}, {mark, "all"}}));
}

TEST(ConversationVisibility, IsThatOfDirectAndGroupChannels) {
    const Channel group{"c", "", Channel::Kind::group, "u__v", "", "", ""}, other{"c", "", {}, "u__v", "", "", ""};
    const auto visibility = ConversationVisibility::make(group, "u").value();
    EXPECT_EQ(visibility.preference(false), (Preference{"group_channel_show", "c", "false"}));
    EXPECT_FALSE(ConversationVisibility::make(other, "u"));
}

}  // namespace
