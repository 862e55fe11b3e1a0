#include "Desktop/DesktopFixture.h"

// `tessel-desktop show` before notification servers and extensions of all sorts.

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using testing::UnorderedElementsAre;

namespace {

struct ShowTest : DesktopTest {};
struct ShowLongTest : ShowTest {};

TEST_F(ShowTest, TellsTheServerAllThatItCanShow) {
    NotificationServer notifications;
    environment["LC_ALL"] = "de_DE.UTF-8";
    server.addPost("post-x", {{"message", "<b>Lunch</b>\x1b[31m?\uFFFF"}, {"channel_name", "<i>Ada</i>"}, {"sender_id", "ada"}, {"sender_name", "ada"}});
    show(message("x", "c", {.isIDLoaded = true, .badge = 3, .sound = "default", .category = "CAN_REPLY"}));
    EXPECT_EQ(end(), 0);
    ASSERT_THAT(notifications.shown(), SizeIs(1));
    auto [number, replaced, summary, body, actions, hints, timeout] = notifications.next();
    EXPECT_EQ(summary, "<i>Ada</i>");
    EXPECT_EQ(body, "&lt;b&gt;Lunch&lt;/b&gt;␛[31m?\uFFFD");
    EXPECT_THAT(actions, ElementsAre("default", "Öffnen", "inline-reply", "Antworten"));
    EXPECT_EQ(std::pair(replaced, timeout), std::pair(0U, -1));
    EXPECT_EQ(hints["urgency"].get<std::uint8_t>(), 1);
    const auto picture = hints["image-data"].get<sdbus::Struct<int, int, int, bool, int, int, std::vector<std::uint8_t>>>();
    EXPECT_GE(picture.get<0>(), 16);
    EXPECT_EQ(picture.get<4>(), 8);
    EXPECT_EQ(picture.get<5>(), picture.get<3>() ? 4 : 3);
    EXPECT_GE(picture.get<6>().size(), std::size_t(picture.get<2>()) * (std::size_t(picture.get<1>()) - 1));
    hints.erase("urgency"), hints.erase("image-data");
    EXPECT_EQ(described(hints), "category=im.received desktop-entry=com.norvane.tessel sound-name=message-new-instant "
                                "x-kde-reply-submit-button-text=Antworten ");
    EXPECT_THAT(notifications.badges(), ElementsAre("application://com.norvane.tessel.desktop 3 1"));
    EXPECT_THAT(kept(), IsEmpty());
}

TEST_F(ShowTest, ReplacesAConversationsNotificationWhereTheServerKeepsNoList) {
    for (const bool keeps : {false, true}) {
        NotificationServer notifications({keeps ? "persistence" : "body"});
        show(message("a", "c") + message("b", "d") + message("c", "c"));
        EXPECT_EQ(end(), 0);
        std::map<std::string, std::uint32_t> replaced;
        for (const auto& one : notifications.shown()) replaced[one.body] = one.replaced;
        EXPECT_EQ(replaced["c"] != 0, !keeps);
        EXPECT_EQ(replaced["b"], 0);
        EXPECT_THAT(notifications.next().actions, IsEmpty());
    }
}

TEST_F(ShowTest, ClosesWhatAVerifiedClearNames) {
    NotificationServer notifications;
    show(message("a", "c") + message("b", "d"));
    EXPECT_EQ(end(), 0);
    const auto clear = [&](std::optional<std::string> signature) {
        return server.push({.kind = "clear", .signature = std::move(signature), .channelID = "c", .badge = 0}) + '\n';
    };
    show(clear("NO_SIGNATURE") + clear(DemoServer::SigningKey().token("ack", server.options().deviceToken)) + message("e", "e"));
    EXPECT_EQ(end(), 0);
    EXPECT_THAT(notifications.closed(), IsEmpty());
    EXPECT_THAT(notifications.badges(), IsEmpty());
    show(clear(std::nullopt));
    EXPECT_EQ(end(), 0);
    const auto first = notifications.next();
    EXPECT_THAT(notifications.closed(), ElementsAre(first.body == "a" ? first.number : notifications.next(1).number));
    EXPECT_THAT(notifications.badges(), ElementsAre("application://com.norvane.tessel.desktop 0 0"));
    EXPECT_THAT(notifications.shown(), SizeIs(3));  // a clear itself is never shown
}

TEST_F(ShowTest, KeepsAPushUntilAServerHasTakenIt) {
    // No bus: the push stays, with one line at the terminal.
    environment["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=/nowhere";
    show(message("kept"));
    EXPECT_EQ(end(), 3);
    EXPECT_THAT(errors(), AllOf(StartsWith("The session bus failed"), testing::EndsWith("\n")));
    EXPECT_EQ(std::ranges::count(errors(), '\n'), 1);
    EXPECT_THAT(kept(), ElementsAre(".json"));
    std::filesystem::remove_all(spool);

    // No server, and then one that is slow to answer.
    environment.erase("DBUS_SESSION_BUS_ADDRESS");
    show(message("late"));
    EXPECT_TRUE(hasLogged("cannot be shown for now"));
    EXPECT_THAT(kept(), ElementsAre(".json"));
    // It goes without an answer, and another one comes.
    std::optional<NotificationServer> first(std::in_place, std::vector<std::string>{}, true);
    EXPECT_EQ(first->next().body, "late");
    EXPECT_THAT(kept(), ElementsAre(".showing"));
    first.reset();
    EXPECT_TRUE(eventually([&] { return kept() == std::vector<std::string>{".json"}; }));
    NotificationServer notifications({"body"}, true);
    EXPECT_TRUE(notifications.next().hints.contains("image-data"));
    EXPECT_THAT(kept(), ElementsAre(".showing"));
    notifications.release();
    EXPECT_EQ(end(), 0);
    EXPECT_THAT(notifications.shown(), SizeIs(1));
    EXPECT_EQ(std::ranges::count(errors(), '\n'), 1);
    EXPECT_THAT(kept(), IsEmpty());
}

TEST_F(ShowLongTest, TriesAgainWhereTheServerRefuses) {
    const std::string tooMany = "org.freedesktop.Notifications.Error.ExcessNotificationGeneration";
    const std::string wrong = "org.freedesktop.DBus.Error.InvalidArgs";  // it may be for the picture
    const std::tuple<std::deque<std::string>, int, bool> rows[] = {
        {{tooMany}, 0, true}, {{wrong}, 0, false}, {{wrong, wrong, wrong}, 3, false}};
    for (const auto& [refusals, status, hasPicture] : rows) {
        SCOPED_TRACE(refusals.size());
        NotificationServer notifications({"body"}, false, refusals);
        show(message("again"));
        EXPECT_EQ(end(), status);
        EXPECT_THAT(errors(), HasSubstr(refusals.front()));
        EXPECT_EQ(kept().size(), status == 0 ? 0 : 1);
        ASSERT_EQ(notifications.shown().size(), status == 0 ? 1 : 0);
        for (const auto& shown : notifications.shown()) EXPECT_EQ(shown.hints.contains("image-data"), hasPicture);
    }
    // Where many are refused at once, none waits the longer for the others.
    NotificationServer notifications({"body"}, true);
    std::string many;
    for (const char channel : std::string("abcdefgh")) many += message("many", {channel});
    show(many);
    notifications.next(7);
    notifications.refuseHeld(tooMany);
    notifications.next(7 + 8);
    EXPECT_EQ(end(), 0);
}

TEST_F(ShowTest, IsNotHeldUpByAnExtensionThatFails) {
    extend("#!/bin/sh\ncase $(cat \"$5\") in\n*crash*) kill -SEGV $$ ;;\n*garbage*) printf '{]\\n' ;;\n*silent*) ;;\n"
           "*endless*) yes | tr -d \"\\n\" ;;\n*vanished*) rm \"$5\" ;;\n*cleared*) line=$('" TESSEL_EXTENSION "' \"$@\");"
           "rm \"$5\"; echo \"$line\" ;;\n*) exec '" TESSEL_EXTENSION "' \"$@\" ;;\nesac\n");
    NotificationServer notifications({"body"});
    const std::string forged = server.push({.signature = "forged", .postID = "p", .title = "t", .body = "forged"}) + '\n';
    show(message("vanished", "5") + message("crash", "1") + message("garbage", "2") + message("silent", "3") +
         message("endless", "4") + message("cleared", "5") + forged);
    EXPECT_EQ(end(), 3);
    EXPECT_THAT(bodies(notifications), UnorderedElementsAre("crash", "garbage", "silent", "endless", "cleared", HasSubstr("verif")));
    EXPECT_THAT(kept(), IsEmpty());
    for (const char* reason : {"crashed (signal 11)", "is not understood", "answered with no line (status 0)", "wrote too much", "cannot be read"})
        EXPECT_THAT(errors(), HasSubstr(reason));
    // One that is no program costs no push either.
    extend("");
    show(message("unstarted"));
    EXPECT_EQ(end(), 0);
    EXPECT_THAT(bodies(notifications), testing::Contains("unstarted"));
}

}  // namespace
