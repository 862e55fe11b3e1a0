#include <functional>
#include <memory>
#include <string>

#include "ChatPlatform/AppGroup.h"
#include "ChatPlatform/CredentialStore.h"
#include "Foundation/StandardStreams.h"
#include "os/Logger.h"
#include "tessel/BundlePath.h"
#include "tessel/Commands.h"
#include "tessel/ExitStatus.h"

namespace tessel {

using ChatPlatform::CredentialStore;

namespace {

struct Arguments {
    std::string bundle;
    std::string url;
};

int onCredentials(const Arguments& arguments,
                  const std::function<int(const CredentialStore&, const Foundation::URL&)>& operation) {
    const auto url = parsedURL(arguments.url);
    // A failure is told in one line: what the log would say of its reason is part of it.
    const auto reason = std::make_shared<std::string>();
    os::setLogSink([reason](const os::LogEntry& entry) { *reason = ": " + entry.message; });
    const CredentialStore credentials(ChatPlatform::AppGroup(*openBundle(arguments.bundle)).keychainGroup);
    try {
        return operation(credentials, url);
    } catch (const CredentialStore::Failure& failure) {
        Foundation::reportError("the secret store: " + std::string(failure.what()) + " (" +
                                std::to_string(failure.status()) + ')' + *reason);
        return storageFailed;
    }
}

int setToken(const CredentialStore& credentials, const Foundation::URL& url) {
    const auto line = Foundation::StandardInput().next();
    std::string token = line ? line->text : "";
    if (line && line->isEnded && token.ends_with('\r')) token.pop_back();
    if (token.empty()) {
        Foundation::reportError("the token on standard input is empty");
        return notFoundOrBadInput;
    }
    credentials.setToken(token, url);
    return done;
}

}  // namespace

void addTokenCommands(CLI::App& app, int& status) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* token = app.add_subcommand("token", "The session tokens in the secret store")->require_subcommand(1);
    addBundleOption(*token, arguments->bundle);
    const auto command = [&](const char* name, const char* description, auto operation) {
        CLI::App* added = token->add_subcommand(name, description);
        addBundleOption(*added, arguments->bundle);
        added->add_option("URL", arguments->url, "The server's address")->required();
        added->callback([arguments, &status, operation] { status = onCredentials(*arguments, operation); });
    };
    command("set", "Stores the token that stands in the first line of standard input", setToken);
    command("has", "Exits with 0 where there is a token, with 1 where there is none",
            [](const CredentialStore& credentials, const Foundation::URL& url) -> int {
                return credentials.token(url) ? done : notFoundOrBadInput;
            });
    command("remove", "Removes the token; done also where there is none",
            [](const CredentialStore& credentials, const Foundation::URL& url) -> int {
                credentials.removeToken(url);
                return done;
            });
}

}  // namespace tessel
