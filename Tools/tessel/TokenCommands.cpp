#include <cstdio>
#include <functional>
#include <iostream>
#include <memory>
#include <string>

#include "ChatPlatform/AppGroup.h"
#include "ChatPlatform/CredentialStore.h"
#include "tessel/BundlePath.h"
#include "tessel/ExitStatus.h"
#include "tessel/ServerCommands.h"

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
    const CredentialStore credentials(ChatPlatform::AppGroup(*openBundle(arguments.bundle)).keychainGroup);
    try {
        return operation(credentials, url);
    } catch (const CredentialStore::Failure& failure) {
        std::fprintf(stderr, "the secret store: %s (%d)\n", failure.what(), failure.status());
        return storageFailed;
    }
}

int setToken(const CredentialStore& credentials, const Foundation::URL& url) {
    std::string token;
    std::getline(std::cin, token);
    if (token.ends_with('\r')) token.pop_back();
    if (token.empty()) {
        std::fputs("the token on standard input is empty\n", stderr);
        return notFoundOrBadInput;
    }
    credentials.setToken(token, url);
    return done;
}

}  // namespace

void addTokenCommands(CLI::App& app, int& status) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* token = app.add_subcommand("token", "The session tokens in the secret store")->require_subcommand(1);
    const auto command = [&](const char* name, const char* description, auto operation) {
        CLI::App* added = token->add_subcommand(name, description);
        added->add_option("--bundle", arguments->bundle, "The extension's bundle")->type_name("PATH");
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
