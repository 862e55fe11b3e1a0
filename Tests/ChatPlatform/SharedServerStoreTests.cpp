#include "ChatPlatform/SharedServerStore.h"

#include <chrono>
#include <csignal>
#include <random>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Foundation/CocoaError.h"
#include "Foundation/DecodingError.h"
#include "Foundation/Files.h"
#include "Support/Support.h"

using namespace ChatPlatform;
using namespace Foundation;

namespace {

const URL url = *URL::parse("https://chat.example/team");

SharedServer record(const std::string& serverID, const URL& at = url) {
    return {.url = at, .serverID = serverID, .signingKey = "key", .userID = "user", .deviceToken = "device"};
}

struct SharedServerStoreTest : testing::Test {
    Support::TemporaryDirectory directory;
    SharedServerStore store{directory / "Library/Servers"};

    std::vector<std::string> files() const { return Files::names(store.directory); }
};

TEST_F(SharedServerStoreTest, StartsWithoutADirectory) {
    EXPECT_TRUE(store.servers().empty() && !store.server(url) && !store.server("s"));
    store.removeServer(url);
    store.save(record("s"));
    EXPECT_EQ(store.server("s"), record("s"));
    EXPECT_EQ(store.server(url), record("s"));
    EXPECT_FALSE(store.server(*URL::parse("https://chat.example/team/")));
}

TEST_F(SharedServerStoreTest, ARecordTakesTheURLsPlace) {
    store.save(record("old"));
    store.save(record("other", *URL::parse("https://other.example")));
    store.save(record("new"));
    store.save(record("new"));
    EXPECT_THAT(files(), testing::UnorderedElementsAre("new.json", "other.json"));
    store.removeServer(url);
    EXPECT_THAT(files(), testing::ElementsAre("other.json"));
}

TEST_F(SharedServerStoreTest, OnlyRecordsAreListed) {
    store.save(record("s"));
    for (const char* name : {"notes.txt", "S.JSON", ".json", "json"}) Support::writeFile(store.directory / name, "?");
    Support::writeFile(store.directory / ".hidden.json", record("h").json());
    EXPECT_EQ(store.servers().size(), 2U);
    std::filesystem::create_symlink("nowhere", store.directory / "t.json");
    EXPECT_THROW((void)store.servers(), CocoaError);
}

TEST_F(SharedServerStoreTest, OneDamagedFileFailsTheListingAlone) {
    store.save(record("s"));
    Support::writeFile(store.directory / "t.json", "{}");
    EXPECT_THROW((void)store.server("t"), DecodingError);
    EXPECT_THROW((void)store.servers(), DecodingError);
    EXPECT_THROW((void)store.server(url), DecodingError);
    EXPECT_THROW(store.removeServer(url), DecodingError);
    EXPECT_THROW(store.save(record("u")), DecodingError);
    EXPECT_EQ(store.server("s"), record("s"));
    EXPECT_THAT(files(), testing::UnorderedElementsAre("s.json", "t.json"));
}

TEST(SharedServer, EveryKeyIsRequired) {
    const auto whole = Support::dictionary(record("s").json());
    for (const auto& [key, value] : whole) {
        auto rest = whole;
        rest.erase(key);
        EXPECT_THAT([&] { (void)SharedServer::fromJSON(Support::json(rest)); },
                    testing::Throws<DecodingError>(testing::Property(&DecodingError::path, key)));
    }
}

TEST_F(SharedServerStoreTest, AnIdentifierStandsInThePathAsItIs) {
    store.save(record("s"));
    Support::writeFile(directory / "outside.json", record("outside").json());
    EXPECT_EQ(store.server("../../outside"), record("outside"));
    EXPECT_FALSE(store.server((directory / "outside").string()));
    EXPECT_FALSE(store.server(std::string("s.json\0", 7) + "x"));
    EXPECT_THROW((void)store.server(std::string(300, 'x')), CocoaError);
    EXPECT_EQ(store.servers().size(), 1U);
}

TEST_F(SharedServerStoreTest, FailuresPassThroughAndLoseNothing) {
    store.save(record("s"));
    for (const auto& name : {std::string("no/such/place"), std::string(300, 'x')})
        EXPECT_THROW(store.save(record(name)), CocoaError) << name;
    EXPECT_EQ(store.server(url), record("s"));

    // A second record of the same name: only one of them is replaced.
    std::filesystem::copy(store.directory / "s.json", store.directory / "misnamed.json");
    EXPECT_THROW(store.save(record("s")), CocoaError);
    // A file whose record bears another name: what is to be removed is not there.
    std::filesystem::rename(store.directory / "s.json", store.directory / "x");
    for (const auto& name : {std::string("s"), std::string("x\0", 2)}) {
        Support::writeFile(store.directory / "misnamed.json", record(name).json());
        for (const char* next : {"s", "t"}) EXPECT_THROW(store.save(record(next)), CocoaError) << name << next;
        EXPECT_THROW(store.removeServer(url), CocoaError);
        EXPECT_THAT(files(), testing::UnorderedElementsAre("misnamed.json", "x")) << name;
    }
}

using SharedServerStoreLongTest = SharedServerStoreTest;

TEST_F(SharedServerStoreLongTest, WholeRecordsAreReadWhileWritersAreKilledAndAfter) {
    std::minstd_rand random;
    for (const bool changesName : {false, true}) {
        SharedServer records[] = {record("s"), record(changesName ? "t" : "s")};
        for (auto& written : records) written.signingKey.assign(100'000, written == records[0] ? 'a' : 'b');
        const std::string texts[] = {records[0].json(), records[1].json()};
        store.save(records[0]);
        for (int i = 0; i < 500; ++i) {
            const pid_t writer = ::fork();
            if (writer == 0) [&]() noexcept {  // what is thrown ends the process
                ::prctl(PR_SET_PDEATHSIG, SIGKILL);
                for (int turn = i;; ++turn) store.save(records[turn % 2]);
            }();
            const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(random() % 4000);
            while (std::chrono::steady_clock::now() < end) {
                for (const auto& found : store.servers()) ASSERT_TRUE(found == records[0] || found == records[1]);
                if (changesName) continue;
                const auto text = Support::readFile(store.directory / "s.json");
                ASSERT_TRUE(text == texts[0] || text == texts[1]) << text.size();
            }
            ::kill(writer, SIGKILL);
            int status = 0;
            ASSERT_TRUE(::waitpid(writer, &status, 0) == writer && WTERMSIG(status) == SIGKILL) << status;
            const auto left = store.servers();
            ASSERT_TRUE(left.size() == 1 || (left.empty() && changesName)) << left.size();
            for (const auto& found : left) ASSERT_TRUE(found == records[0] || found == records[1]);
        }
    }
    EXPECT_LT(files().size(), 50u) << "what killed writers leave behind";
}

}  // namespace
