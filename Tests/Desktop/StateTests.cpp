#include <cerrno>

#include "Desktop/Registration.h"
#include "Desktop/ShownNotifications.h"
#include "Desktop/Spool.h"
#include "Support/Support.h"

// What outlives a process: pushes to be shown, the notifications that are shown, and the registration.

using Desktop::Registration;
using Desktop::ShownNotification;
using Desktop::ShownNotifications;
using Desktop::Spool;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct StateTest : testing::Test {
    Support::TemporaryDirectory directory;
};

struct SpoolTest : StateTest {
    static std::vector<std::string> texts(Spool& spool) {
        std::vector<std::string> texts;
        for (const auto& entry : spool.entries()) texts.push_back(Support::readFile(entry));
        return texts;
    }
    static Spool::Entry add(Spool& spool, std::string_view text) { return spool.add(Foundation::bytes(text)); }
};

TEST_F(SpoolTest, KeepsWhatAnEndedProcessHasLeftInItsOrder) {
    Spool service(directory.path(), "service"), living(directory.path(), "living");
    add(service, "1");
    {
        Spool ended(directory.path(), "ended");
        add(ended, "2");
        Spool::marked(add(ended, "was being shown"));
        Spool::unmarked(Spool::marked(add(ended, "3")));
    }
    add(living, "another's");
    Spool::remove(add(service, "shown"));
    add(service, "4");
    EXPECT_THAT(texts(service), ElementsAre("1", "4"));
    service.adopt();
    EXPECT_THAT(texts(service), ElementsAre("1", "2", "3", "4"));
    EXPECT_THAT(texts(living), ElementsAre("another's"));
    // Nothing is left of the one that is taken over, nor of what was being shown.
    EXPECT_FALSE(exists(directory / "ended"));
    EXPECT_EQ(Foundation::Files::names(directory / "service").size(), 4);
    EXPECT_EQ(Support::mode(service.entries()[0]), 0600);
}

TEST_F(SpoolTest, IsOneProcessesAlone) {
    std::optional<Spool> first(std::in_place, directory.path(), "service");
    try {
        Spool second(directory.path(), "service");
        FAIL();
    } catch (const Foundation::CocoaError& error) { EXPECT_EQ(error.posixCode(), EAGAIN); }
    // The clock was set back: what comes now is behind what came in the future.
    Support::writeFile(directory / "service/04000000000000000000.json", "future");
    first.reset();
    Spool next(directory.path(), "service");
    EXPECT_THAT(texts(next), ElementsAre("future"));
    add(next, "a"), add(next, "b");
    EXPECT_THAT(texts(next), ElementsAre("future", "a", "b"));
}

struct ShownNotificationsTest : StateTest {
    std::filesystem::path file = directory / "state/notifications.json";
    static ShownNotification one(std::uint32_t number, const std::string& thread, const std::string& members) {
        return ShownNotification::of(number, thread, Support::dictionary(R"({"type":"message")" + members + "}"));
    }
};

TEST_F(ShownNotificationsTest, AreOneServersAndSharedByProcesses) {
    ShownNotifications here(file, "bus :1.1"), there(file, "bus :1.1");
    here.add(one(1, "a", R"(,"post_id":"p1","aps":{"alert":"SECRET"},"signature":"SECRET")"));
    there.add(one(4'294'967'295, "a", R"(,"post_id":"p2")"));
    here.add(one(3, "b", ""));
    EXPECT_EQ(there.find(1), one(1, "a", R"(,"post_id":"p1")"));
    EXPECT_THAT(Support::readFile(file), testing::Not(testing::HasSubstr("SECRET")));
    EXPECT_EQ(here.lastInThread("a"), 4'294'967'295);
    EXPECT_EQ(here.lastInThread("c"), std::nullopt);
    // Shown in place of the first one: it is the thread's last now.
    there.add(one(1, "a", R"(,"post_id":"p3")"));
    EXPECT_EQ(here.lastInThread("a"), 1);
    EXPECT_EQ(here.remove(1), one(1, "a", R"(,"post_id":"p3")"));
    EXPECT_EQ(there.remove(1), std::nullopt);
    EXPECT_EQ(here.find(3), one(3, "b", ""));
    // The numbers of another server mean other notifications.
    ShownNotifications another(file, "bus :1.2");
    EXPECT_EQ(another.find(3), std::nullopt);
    another.add(one(7, "a", ""));
    EXPECT_EQ(another.lastInThread("b"), std::nullopt);
    std::string most = R"({"server":"bus :1.2","notifications":[)";
    for (int number = 1; number <= 500; ++number)
        most += R"({"number":)" + std::to_string(number) + R"(,"threadIdentifier":"t","push":{}})" + (number < 500 ? "," : "]}");
    Support::writeFile(file, most);
    another.add(one(501, "t", ""));
    EXPECT_EQ(another.find(1), std::nullopt);
    EXPECT_TRUE(another.find(2));
    EXPECT_EQ(another.lastInThread("t"), 501);

    for (const char* broken : {"", "{]", R"({"server":"bus :1.2"})"}) {
        Support::writeFile(file, broken);
        EXPECT_EQ(another.find(2), std::nullopt) << broken;
        another.add(one(2, "n", ""));
        EXPECT_TRUE(another.find(2)) << broken;
    }
    std::filesystem::remove(file), std::filesystem::create_directory(file);
    EXPECT_THROW(another.find(2), Foundation::CocoaError);
}

TEST_F(ShownNotificationsTest, AreClearedByChannelOrThread) {
    const std::string thread = R"(,"channel_id":"c","is_crt_enabled":true,"root_id":)";
    const struct {
        std::string clear;
        std::vector<std::int64_t> cleared;
    } rows[] = {
        {R"(,"channel_id":"c")", {1, 2}},
        {R"(,"channel_id":"other")", {}},
        {R"(,"channel_id":"c","server_id":"another")", {}},
        {thread + R"("r")", {2, 3}},
        {thread + R"("")", {1, 2}},
    };
    for (const auto& [clear, cleared] : rows) {
        SCOPED_TRACE(clear);
        ShownNotifications shown(file, clear);
        shown.add(one(1, "c", R"(,"channel_id":"c","post_id":"p")"));
        shown.add(one(2, "c", R"(,"channel_id":"c","post_id":"r")"));
        shown.add(one(3, "r", thread + R"("r","post_id":"q")"));
        shown.add(one(4, "x", R"(,"channel_id":"x")"));
        const auto push = ChatModel::PushPayload::make(Support::dictionary(R"({"type":"clear")" + clear + "}"));
        EXPECT_EQ(shown.clear(*push), cleared);
        for (const auto number : cleared) EXPECT_EQ(shown.find(number), std::nullopt);
        EXPECT_TRUE(shown.find(4));
        EXPECT_THAT(shown.clear(*push), IsEmpty());
    }
}

struct RegistrationTest : StateTest {};

TEST_F(RegistrationTest, IsKept) {
    auto registration = Registration::load(directory.path());
    EXPECT_THAT(registration.token, testing::MatchesRegex("[0-9a-f]{32}"));
    EXPECT_NE(Registration::load(directory.path()), registration);  // it was not saved
    registration.endpoint = "https://push.example/\"";
    registration.save(directory.path());
    EXPECT_EQ(Registration::load(directory.path()), registration);
    EXPECT_EQ(Support::mode(directory / "registration.json"), 0600);
    Support::writeFile(directory / "registration.json", "{\"token\":");
    EXPECT_THROW(Registration::load(directory.path()), Foundation::DecodingError);
    std::filesystem::remove(directory / "registration.json");
    std::filesystem::create_directory(directory / "registration.json");
    EXPECT_THROW(Registration::load(directory.path()), Foundation::CocoaError);
}

}  // namespace
