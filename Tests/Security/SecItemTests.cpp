#include "Security/SecItem.h"

#include <thread>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include "Security/EitherStoreTest.h"
#include "Security/EmbeddedStore.h"
#include "Security/SecretService.h"

using namespace Security;
using namespace std::chrono_literals;
using namespace std::string_literals;
using namespace testing;
using Foundation::bytes;
using Keyring = PrivateSession::Keyring;

namespace {

GenericPasswordQuery named(const std::string& account, std::optional<std::string> group = "group") {
    return {"com.example.session", account, std::move(group)};
}

const auto item = named("https://chat.example");

auto isData(const std::string& data) { return FieldsAre(errSecSuccess, bytes(data)); }
auto isStatus(OSStatus status) { return FieldsAre(status, std::nullopt); }

/// The statuses of read, update, add and delete, in this order.
std::vector<OSStatus> everyStatus(SecretStore&& store, const GenericPasswordQuery& query = item) {
    const auto data = bytes("other");
    return {store.copyMatching(query).status, store.update(query, data), store.add(query, data), store.remove(query)};
}

using SecItem = EitherStoreTest;

INSTANTIATE_TEST_SUITE_P(, SecItem, testing::Values("EmbeddedStore", "SecretService"),
                         [](const auto& row) { return row.param; });

TEST_P(SecItem, livesFromAddToDelete) {
    EXPECT_EQ(SecItemUpdate(item, bytes("none")), errSecItemNotFound);
    EXPECT_EQ(SecItemDelete(item), errSecItemNotFound);
    // Binary, of any length: the second one is no UTF-8, the third empty.
    for (const std::string& data : {"first"s, "\0 \xFF\xFE \0\xC3"s, ""s, std::string(100'000, '\x80')}) {
        EXPECT_EQ(SecItemAdd(item, bytes(data)), errSecSuccess);
        EXPECT_EQ(SecItemAdd(item, bytes("second")), errSecDuplicateItem);
        EXPECT_THAT(SecItemCopyMatching(item), isData(data));
        EXPECT_EQ(SecItemUpdate(item, bytes(data + data)), errSecSuccess);
        EXPECT_THAT(SecItemCopyMatching(item), isData(data + data));
        EXPECT_EQ(SecItemDelete(item), errSecSuccess);
    }
    EXPECT_THAT(SecItemCopyMatching(item), isStatus(errSecItemNotFound));
}

TEST_P(SecItem, matchesAnyAccessGroupWhereNoneIsAskedFor) {
    const auto of = [](const char* group) { return named(item.account, group); };
    const auto any = named(item.account, {});
    ASSERT_EQ(SecItemAdd(of("one"), bytes("1")), errSecSuccess);
    EXPECT_THAT(SecItemCopyMatching(any), isData("1"));
    ASSERT_EQ(SecItemAdd(any, bytes("none")), errSecSuccess) << "an item without a group is another item";
    EXPECT_EQ(SecItemAdd(any, bytes("none")), errSecDuplicateItem);
    EXPECT_THAT(SecItemCopyMatching(of("")), isData("none"));
    EXPECT_THAT(SecItemCopyMatching(of("two")), isStatus(errSecItemNotFound));
    EXPECT_EQ(SecItemUpdate(of(""), bytes("one of them")), errSecSuccess);
    EXPECT_THAT(SecItemCopyMatching(of("one")), isData("1"));
    EXPECT_EQ(SecItemUpdate(any, bytes("all")), errSecSuccess);
    for (const char* group : {"", "one"}) EXPECT_THAT(SecItemCopyMatching(of(group)), isData("all")) << group;
    EXPECT_EQ(SecItemDelete(of("one")), errSecSuccess);
    EXPECT_THAT(SecItemCopyMatching(any), isData("all"));
    ASSERT_EQ(SecItemAdd(of("one"), bytes("1")), errSecSuccess);
    EXPECT_EQ(SecItemDelete(any), errSecSuccess);
    EXPECT_THAT(SecItemCopyMatching(any), isStatus(errSecItemNotFound));
}

TEST_P(SecItem, isNamedByTheExactTexts) {
    std::vector<std::string> accounts = {
        item.account, item.account + '/', "HTTPS://chat.example", "https://chat.exampl_", "https://chat.ex%",
        "' OR 1 --", "Stra\u00DFe", "Strasse\U0001F511", ""};
    // The other store has texts alone.
    if (GetParam() == "EmbeddedStore"s) accounts.insert(accounts.end(), {"a"s, "a\0"s, "a\0b"s, "\xFF"s, "\xFE"s});
    EXPECT_EQ(SecItemAdd({"com.example", item.account, item.accessGroup}, bytes("service")), errSecSuccess);
    for (const auto& account : accounts) EXPECT_EQ(SecItemAdd(named(account), bytes(account)), errSecSuccess);
    for (const auto& account : accounts) EXPECT_THAT(SecItemCopyMatching(named(account)), isData(account)) << account;
}

TEST(EmbeddedStore, isCreatedByAnAddForItsUserAloneOrSaysWhatIsWrong) {
    const Support::TemporaryDirectory directory;
    EmbeddedStore store(directory / "new");
    EXPECT_THAT((std::vector{store.copyMatching(item).status, store.update(item, {}), store.remove(item)}),
                Each(errSecItemNotFound));
    EXPECT_TRUE(std::filesystem::is_empty(directory.path()));

    const mode_t mask = ::umask(0);
    Support::writeFile(directory / "shared", "");  // by somebody else, for all to read
    Support::writeFile(directory / "text", std::string(4096, 'x'));
    const std::vector good{errSecItemNotFound, errSecItemNotFound, errSecSuccess, errSecSuccess};
    const std::pair<const char*, std::vector<OSStatus>> rows[] = {
        {"new", good}, {"shared", good}, {"text", std::vector(4, errSecDecode)}, {".", std::vector(4, errSecIO)},
        {"missing/keychain", {errSecItemNotFound, errSecItemNotFound, errSecIO, errSecItemNotFound}}};
    for (const auto& [name, statuses] : rows) EXPECT_EQ(everyStatus(EmbeddedStore(directory / name)), statuses) << name;
    for (const char* name : {"new", "shared"}) EXPECT_EQ(Support::mode(directory / name), 0600u) << name;
    ::umask(mask);

    ::chmod((directory / "new").c_str(), 0);
    const uid_t user = ::geteuid();
    ASSERT_EQ(::seteuid(user == 0 ? 65534 : user), 0);  // nothing is forbidden to root
    const auto statuses = everyStatus(EmbeddedStore(directory / "new"));
    ASSERT_EQ(::seteuid(user), 0);
    EXPECT_THAT(statuses, Each(errSecAuthFailed));
}

TEST(EmbeddedStore, readsTheFileThatThePathLeadsToNow) {
    const Support::TemporaryDirectory directory;
    EmbeddedStore store(directory / "keychain");
    for (const std::string name : {"restored", "keychain"}) {
        EXPECT_EQ(EmbeddedStore(directory / name).add(item, bytes(name)), errSecSuccess);
        EXPECT_THAT(EmbeddedStore(directory / name).copyMatching(item), isData(name));
    }
    std::filesystem::rename(directory / "restored", directory / "keychain");
    EXPECT_THAT(store.copyMatching(item), isData("restored"));
    std::filesystem::remove(directory / "keychain");
    EXPECT_THAT(store.copyMatching(item), isStatus(errSecItemNotFound));
}

TEST(EmbeddedStore, takesWritersOneByOne) {
    const Support::TemporaryDirectory directory;
    std::vector<std::jthread> writers;
    for (const char* account : {"a", "b", "c", "d"})
        writers.emplace_back([&directory, query = named(account)] {
            EmbeddedStore store(directory / "keychain");
            EXPECT_EQ(store.add(query, {}), errSecSuccess);
            for (int i = 0; i < 10; ++i) EXPECT_EQ(store.update(query, bytes(query.account)), errSecSuccess);
            EXPECT_THAT(store.copyMatching(query), isData(query.account));
        });
}

TEST(SecretService, tellsLockedFromMissing) {
    const Support::TemporaryDirectory home;
    std::optional<PrivateSession> session(std::in_place, home.path(), Keyring::unlocked);
    ASSERT_EQ(SecretService().add(item, bytes("data")), errSecSuccess);
    session.emplace(home.path(), Keyring::locked);
    EXPECT_THAT(everyStatus(SecretService()), Each(errSecInteractionNotAllowed));
    EXPECT_THAT(everyStatus(SecretService(), named("another")),
                ElementsAre(errSecItemNotFound, errSecItemNotFound, errSecInteractionNotAllowed, errSecItemNotFound));
}

TEST(SecretService, hasNoItemWhoseAttributesAreNoText) {
    for (const GenericPasswordQuery& query : {GenericPasswordQuery{"service\0"s, "account", {}},
                                              {"service", "\xFF", {}}, {"service", "account", "group\0"s}})
        EXPECT_THAT(everyStatus(SecretService(), query),
                    ElementsAre(errSecItemNotFound, errSecItemNotFound, errSecParam, errSecItemNotFound));
}

/// Listens as a bus that authenticates its clients and answers nothing more, for as long as the process
/// lives.
void startSilentBus(const std::string& path) {
    sockaddr_un address{AF_UNIX, {}};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) + ::listen(listener, 8), 0);
    std::thread([listener] {
        const auto welcome = "REJECTED EXTERNAL\r\nDATA\r\nOK 0123456789abcdef0123456789abcdef\r\nAGREE_UNIX_FD\r\n"s;
        while (::write(::accept(listener, nullptr, nullptr), welcome.data(), welcome.size()) > 0) continue;
    }).detach();
}

enum class Silence { noBus, noService, serviceHangs, busHangs };

/// Whether each operation ends as "not available", and where something hangs when the store's own time is up:
/// GIO itself gives a call 25 seconds.
bool isNotAvailable(Silence silence) {
    const Support::TemporaryDirectory home;
    const auto socket = (home / "bus").string();
    ::setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + socket).c_str(), 1);
    std::optional<PrivateSession> session;
    if (silence == Silence::busHangs) startSilentBus(socket);
    if (silence == Silence::noService) session.emplace(home.path(), Keyring::none);
    if (silence == Silence::serviceHangs) {
        session.emplace(home.path(), Keyring::unlocked);
        if (SecretService().add(item, bytes("data")) != errSecSuccess) return false;
        session->suspendKeyring();
    }
    // What is known to be missing is not waited for.
    const bool hangs = silence == Silence::serviceHangs || silence == Silence::busHangs;
    const std::chrono::milliseconds timeout = hangs ? 100ms : 1h;
    const auto start = std::chrono::steady_clock::now();
    const auto statuses = everyStatus(SecretService(timeout));
    const auto elapsed = std::chrono::steady_clock::now() - start;
    // A bus that hangs holds the thread of each operation: there are to be no more than a few.
    for (int i = 0; i < 40 && silence == Silence::busHangs; ++i) (void)SecretService(1ms).copyMatching(item);
    return statuses == std::vector<OSStatus>(4, errSecNotAvailable) && elapsed < 20s &&
           (!hangs || elapsed >= timeout) && Foundation::Files::names("/proc/self/task").size() < 30;
}

TEST(SecretService, isNotAvailableWithoutAnAnswer) {
    // In processes of their own: the connection is one for all operations, those that were given up included.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (const auto silence : {Silence::noBus, Silence::noService, Silence::serviceHangs, Silence::busHangs})
        EXPECT_EXIT(std::_Exit(isNotAvailable(silence) ? 0 : 1), ExitedWithCode(0), Eq("")) << int(silence);
}

}  // namespace
