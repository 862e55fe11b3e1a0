#pragma once

#include <optional>

#include "Security/PrivateSession.h"
#include "Support/Support.h"

/// What holds for either store; the environment names the one that is the parameter.
struct EitherStoreTest : testing::TestWithParam<const char*> {
    EitherStoreTest() {
        ::setenv("TESSEL_KEYCHAIN", ("file:" + (directory / "keychain").string()).c_str(), 1);
        if (GetParam() == std::string("EmbeddedStore")) return;
        ::unsetenv("TESSEL_KEYCHAIN");
        session.emplace(directory.path(), PrivateSession::Keyring::unlocked);
    }

    Support::TemporaryDirectory directory;
    std::optional<PrivateSession> session;  ///< of the secret service
};
