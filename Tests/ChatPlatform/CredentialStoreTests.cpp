#include "ChatPlatform/CredentialStore.h"

#include <map>
#include <vector>

#include <gtest/gtest.h>

#include "ChatPlatform/Keychain.h"
#include "Support/Support.h"

using ChatPlatform::CredentialStore;
using Foundation::Data;
using Foundation::URL;

namespace {

/// A keychain in memory, which writes down what it is asked for and fails where it is told to.
class Items final : public ChatPlatform::KeychainItems {
public:
    mutable std::map<std::string, Data> stored;  // by service and account
    mutable std::vector<std::string> calls;
    std::map<std::string, std::int32_t> failing;  // by call

    std::optional<Data> read(const CredentialStore::Location& location, const std::string& account) const override {
        note("read " + location.service);
        const auto found = stored.find(location.service + ' ' + account);
        return found == stored.end() ? std::nullopt : std::optional(found->second);
    }
    void write(const Data& data, const CredentialStore::Location& location, const std::string& account) const override {
        note("write " + location.service);
        stored[location.service + ' ' + account] = data;
    }
    void remove(const CredentialStore::Location& location, const std::string& account) const override {
        note("remove " + location.service);
        stored.erase(location.service + ' ' + account);
    }

private:
    void note(const std::string& call) const {
        calls.push_back(call);
        if (failing.contains(call)) throw CredentialStore::Failure(failing.at(call));
    }
};

const URL server = *URL::parse("https://chat.example");
using Calls = std::vector<std::string>;

struct CredentialStoreTest : testing::Test {
    std::shared_ptr<Items> items = std::make_shared<Items>();
    CredentialStore store{items, {"new", "group"}, CredentialStore::Location{"old", std::nullopt}};
};

TEST_F(CredentialStoreTest, MovesAnOldToken) {
    items->stored["old https://chat.example"] = Foundation::bytes("token");
    EXPECT_EQ(store.token(server), "token");
    EXPECT_EQ(items->calls, (Calls{"read new", "read old", "write new", "remove old"}));
    items->calls.clear();
    EXPECT_EQ(store.token(server), "token");
    EXPECT_EQ(items->calls, Calls{"read new"});
}

TEST_F(CredentialStoreTest, AFailureInTheMoveLosesNothing) {
    for (const char* call : {"read new", "read old", "write new", "remove old"}) {
        SCOPED_TRACE(call);
        items->stored = {{"old https://chat.example", Foundation::bytes("token")}};
        items->failing = {{call, -25293}};
        EXPECT_THROW(store.token(server), CredentialStore::Failure);
        items->failing.clear();
        EXPECT_EQ(store.token(server), "token");
    }
}

TEST_F(CredentialStoreTest, SettingAndRemoving) {
    items->stored["old https://chat.example"] = Foundation::bytes("old token");
    store.setToken("new token", server);
    EXPECT_EQ(store.token(server), "new token");
    EXPECT_FALSE(store.token(*URL::parse("https://chat.example/")));
    EXPECT_TRUE(items->stored.contains("old https://chat.example"));

    items->failing = {{"remove new", -25308}};
    EXPECT_THROW(store.removeToken(server), CredentialStore::Failure);
    EXPECT_TRUE(items->stored.contains("old https://chat.example"));
    items->failing.clear();
    store.removeToken(server);
    store.removeToken(server);
    EXPECT_TRUE(items->stored.empty());
}

TEST_F(CredentialStoreTest, WithoutAnOldLocationNothingElseIsAsked) {
    store.legacy.reset();
    EXPECT_FALSE(store.token(server));
    store.removeToken(server);
    EXPECT_EQ(items->calls, (Calls{"read new", "remove new"}));
}

TEST_F(CredentialStoreTest, IllFormedBytesAreRepaired) {
    items->stored["new https://chat.example"] = {'a', 0xFF, 'b', 0xE2, 0x82};
    EXPECT_EQ(store.token(server), "a\uFFFDb\uFFFD");
}

TEST(CredentialStore, TheExtensionsLocation) {
    const CredentialStore plain("group");
    EXPECT_EQ(plain.current, (CredentialStore::Location{"com.norvane.tessel.session", "group"}));
    EXPECT_FALSE(plain.legacy);
    EXPECT_EQ(CredentialStore("group", "before").legacy, (CredentialStore::Location{"before", std::nullopt}));
}

TEST(CredentialStore, FailuresSpeakTheSystemsWords) {
    EXPECT_EQ(CredentialStore::Failure(-25300).localizedDescription(),
              "The specified item could not be found in the keychain.");
    EXPECT_FALSE(CredentialStore::Failure(12345).localizedDescription());
    EXPECT_STREQ(CredentialStore::Failure(12345).what(), "The keychain failed with status 12345.");
}

TEST(Keychain, OnTheEmbeddedStore) {
    const Support::TemporaryDirectory directory;
    ::setenv("TESSEL_KEYCHAIN", ("file:" + (directory / "keychain").string()).c_str(), 1);
    const CredentialStore store("group", "before");
    EXPECT_FALSE(store.token(server));
    store.removeToken(server);
    ChatPlatform::Keychain().write(Foundation::bytes("old"), *store.legacy, server.absoluteString());
    EXPECT_EQ(store.token(server), "old");
    EXPECT_FALSE(ChatPlatform::Keychain().read(*store.legacy, server.absoluteString()));
    store.setToken("newer", server);
    EXPECT_EQ(store.token(server), "newer");
    EXPECT_FALSE(CredentialStore("another group").token(server));
    Support::writeFile(directory / "keychain", "this is no database, and is long enough to be looked at as one");
    EXPECT_THROW(store.token(server), CredentialStore::Failure);
    ::unsetenv("TESSEL_KEYCHAIN");
}

}  // namespace
