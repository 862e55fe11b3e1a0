// What a client does when its user signs in to a chat server and out again, and what the extension reads in between.
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>

#include "Bundle/Bundle.h"
#include "ChatModel/ServerAddress.h"
#include "ChatPlatform/AppGroup.h"
#include "ChatPlatform/CredentialStore.h"
#include "ChatPlatform/SharedServerStore.h"
#include "Foundation/CocoaError.h"

namespace {

using ChatPlatform::AppGroup;
using ChatPlatform::CredentialStore;
using ChatPlatform::SharedServer;
using ChatPlatform::SharedServerStore;

SharedServerStore recordsOf(const AppGroup& group) {
    const auto store = SharedServerStore::make(group);
    if (!store) throw std::runtime_error("there is no directory that the group shares");
    return *store;
}

/// As the extension does for each push, which names its server by the identifier.
void lookUp(const std::string& serverID, const SharedServerStore& servers, const CredentialStore& credentials) {
    const auto server = servers.server(serverID);
    if (!server) {
        std::cout << serverID << ": nobody is signed in\n";
        return;
    }
    const auto token = credentials.token(server->url);
    std::cout << serverID << ": " << server->userID << " at " << server->url.absoluteString() << ", "
              << (token ? "with" : "without") << " a session token\n";
}

void run() {
    const AppGroup group(Foundation::Bundle::main());
    const SharedServerStore servers = recordsOf(group);
    const CredentialStore credentials(group.keychainGroup);

    const auto url = ChatModel::ServerAddress::parse("Chat.Example/ ");
    if (!url) throw std::runtime_error("that is no address of a server");

    // The user has signed in, and the server has told what the record holds.
    const SharedServer server = {
        .url = *url,
        .serverID = "example-server",
        .signingKey =
            "MFkwEwYHKoZIzj0CAQYIKoZIzj0DAQcDQgAEB+HmDLtcVF//DRmOuj84t7ePLIMyJmxOVkErVfy4kOPDbuxQesA+"
            "5wYqos87Jo5Pb/LOG9kYxt8RK6O6LSairg==",
        .userID = "ada",
        .deviceToken = "device-1",
    };
    credentials.setToken("a session token", server.url);
    servers.save(server);
    lookUp("example-server", servers, credentials);

    // The session has ended, be it that the user has signed out or that the server has said so.
    servers.removeServer(server.url);
    credentials.removeToken(server.url);
    lookUp("example-server", servers, credentials);
}

}  // namespace

int main() {
    try {
        run();
        return EXIT_SUCCESS;
    } catch (const CredentialStore::Failure& failure) {
        std::cerr << "The secret store failed with status " << failure.status() << ": " << failure.what() << '\n';
    } catch (const Foundation::CocoaError& error) {
        std::cerr << "A record could not be read or written: " << error.what() << '\n';
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
    }
    return EXIT_FAILURE;
}
