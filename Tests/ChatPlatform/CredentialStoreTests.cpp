#include "ChatPlatform/CredentialStore.h"

#include <map>

#include "ChatPlatform/Keychain.h"
#include "Security/PrivateSession.h"
#include "Support/Support.h"

using namespace ChatPlatform;
using namespace Foundation;
using Location = CredentialStore::Location;

namespace {

/// A keychain in memory, which writes down what it is asked for and fails where it is told to.
struct Items final : KeychainItems {
    mutable std::map<std::string, Data> stored;  // by service and account
    mutable std::vector<std::string> calls;
    std::string failing;  // a call

    std::optional<Data> read(const Location& location, const std::string& account) const override {
        note("read " + location.service);
        const auto found = stored.find(location.service + ' ' + account);
        return found == stored.end() ? std::nullopt : std::optional(found->second);
    }
    void write(const Data& data, const Location& location, const std::string& account) const override {
        note("write " + location.service);
        stored[location.service + ' ' + account] = data;
    }
    void remove(const Location& location, const std::string& account) const override {
        note("remove " + location.service);
        stored.erase(location.service + ' ' + account);
    }

    void note(const std::string& call) const {
        calls.push_back(call);
        if (call == failing) throw CredentialStore::Failure(-25293);
    }
};

const URL server = *URL::parse("https://chat.example");
constexpr const char* old = "old https://chat.example";

struct CredentialStoreTest : testing::Test {
    std::shared_ptr<Items> items = std::make_shared<Items>();
    CredentialStore store{items, {"new", "group"}, Location{"old", std::nullopt}};
};

TEST_F(CredentialStoreTest, AFailureInTheMoveLosesNothing) {
    for (const char* call : {"read new", "read old", "write new", "remove old"}) {
        SCOPED_TRACE(call);
        items->stored = {{old, bytes("token")}};
        items->failing = call;
        EXPECT_THROW(store.token(server), CredentialStore::Failure);
        items->failing.clear();
        EXPECT_EQ(store.token(server), "token");
    }
}

TEST_F(CredentialStoreTest, SettingAndRemoving) {
    items->stored[old] = bytes("old token");
    store.setToken("new token", server);
    EXPECT_EQ(store.token(server), "new token");
    EXPECT_FALSE(store.token(*URL::parse("https://chat.example/")));
    EXPECT_TRUE(items->stored.contains(old));

    items->failing = "remove new";
    EXPECT_THROW(store.removeToken(server), CredentialStore::Failure);
    EXPECT_TRUE(items->stored.contains(old));
    items->failing.clear();
    store.removeToken(server);
    EXPECT_TRUE(items->stored.empty());
}

TEST_F(CredentialStoreTest, WithoutAnOldLocationNothingElseIsAsked) {
    store.legacy.reset();
    EXPECT_FALSE(store.token(server));
    store.removeToken(server);
    EXPECT_THAT(items->calls, testing::ElementsAre("read new", "remove new"));
}

TEST(CredentialStore, TheExtensionsLocation) {
    const CredentialStore plain("group");
    EXPECT_EQ(plain.current, (Location{"com.norvane.tessel.session", "group"}));
    EXPECT_FALSE(plain.legacy);
    EXPECT_EQ(CredentialStore("group", "before").legacy, (Location{"before", std::nullopt}));
}

TEST(CredentialStore, AFailureUnknownToTheSystemIsNamedByItsStatus) {
    EXPECT_FALSE(CredentialStore::Failure(12345).localizedDescription());
    EXPECT_STREQ(CredentialStore::Failure(12345).what(), "The keychain failed with status 12345.");
}

using KeychainTest = EitherStoreTest;

INSTANTIATE_TEST_SUITE_P(, KeychainTest, testing::Values("EmbeddedStore", "SecretService"),
                         [](const auto& row) { return row.param; });

TEST_P(KeychainTest, KeepsMovesAndRemovesTokens) {
    const CredentialStore store("group", "before");
    EXPECT_FALSE(store.token(server));
    store.removeToken(server);
    for (const char* token : {"first", "second"}) {
        store.setToken(token, server);
        EXPECT_EQ(store.token(server), token);
    }
    EXPECT_FALSE(CredentialStore("another group").token(server));
    store.removeToken(server);
    EXPECT_FALSE(store.token(server));

    const Data illFormed = {'a', 0xFF, 'b', 0xE2, 0x82};
    store.items->write(illFormed, *store.legacy, server.absoluteString());
    for (int reading = 0; reading < 2; ++reading) EXPECT_EQ(store.token(server), "a\uFFFDb\uFFFD");
    EXPECT_EQ(store.items->read(store.current, server.absoluteString()), illFormed);
    EXPECT_FALSE(store.items->read(*store.legacy, server.absoluteString()));
    if (!session) return;
    session.reset();
    session.emplace(directory.path(), PrivateSession::Keyring::locked);
    const auto isLocked = testing::Throws<CredentialStore::Failure>(CredentialStore::Failure(-25308));
    EXPECT_THAT([&] { (void)store.token(server); }, isLocked);
}

}  // namespace
