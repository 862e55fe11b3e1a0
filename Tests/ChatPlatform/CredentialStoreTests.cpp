#include "ChatPlatform/CredentialStore.h"

#include <map>

#include "ChatPlatform/Keychain.h"
#include "Security/EitherStoreTest.h"

using namespace ChatPlatform;
using namespace Foundation;
using Location = CredentialStore::Location;
using Failure = CredentialStore::Failure;

namespace {

/// A keychain in memory, which writes down what it is asked for and fails where it is told to.
struct Items final : KeychainItems {
    mutable std::map<std::string, std::optional<Data>> stored;  // by service and account
    mutable std::vector<std::string> calls;
    std::string failing;  // a call

    std::optional<Data> read(const Location& location, const std::string& account) const override {
        return item("read ", location, account);
    }
    void write(const Data& data, const Location& location, const std::string& account) const override {
        item("write ", location, account) = data;
    }
    void remove(const Location& location, const std::string& account) const override {
        item("remove ", location, account).reset();
    }
    std::optional<Data>& item(const std::string& call, const Location& location, const std::string& account) const {
        calls.push_back(call + location.service);
        if (calls.back() == failing) throw Failure(12345);
        return stored[location.service + ' ' + account];
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
        EXPECT_THAT([&] { (void)store.token(server); },
                    testing::ThrowsMessage<Failure>("The keychain failed with status 12345."));
        items->failing.clear();
        EXPECT_EQ(store.token(server), "token");
    }
}

TEST_F(CredentialStoreTest, SettingAndRemoving) {
    items->stored[old] = bytes("old token");
    store.setToken("new token", server);
    EXPECT_EQ(store.token(server), "new token");
    EXPECT_FALSE(store.token(*URL::parse("https://chat.example/")));
    items->failing = "remove new";
    EXPECT_THROW(store.removeToken(server), Failure);
    EXPECT_TRUE(items->stored[old]);
    items->failing.clear();
    store.removeToken(server);
    EXPECT_FALSE(store.token(server));
}

TEST_F(CredentialStoreTest, WithoutAnOldLocationNothingElseIsAsked) {
    store.legacy.reset();
    EXPECT_FALSE(store.token(server));
    store.removeToken(server);
    EXPECT_THAT(items->calls, testing::ElementsAre("read new", "remove new"));
}

using KeychainTest = EitherStoreTest;

INSTANTIATE_TEST_SUITE_P(, KeychainTest, testing::Values("EmbeddedStore", "SecretService"),
                         [](const auto& row) { return row.param; });

TEST_P(KeychainTest, KeepsMovesAndRemovesTokens) {
    const CredentialStore store("group", "before");
    EXPECT_EQ(store.current.service, "com.norvane.tessel.session") << "where tokens are from earlier on";
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
    session.emplace(directory.path(), PrivateSession::Keyring::locked);
    EXPECT_THAT([&] { (void)store.token(server); }, testing::Throws<Failure>(Failure(-25308)));
}

}  // namespace
