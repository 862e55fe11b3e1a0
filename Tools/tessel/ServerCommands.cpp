#include "tessel/Commands.h"

#include <exception>
#include <functional>
#include <memory>
#include <system_error>

#include "ChatPlatform/SharedServerStore.h"
#include "Foundation/DecodingError.h"
#include "Foundation/Files.h"
#include "Foundation/StandardStreams.h"
#include "Foundation/UTF8.h"
#include "tessel/BundlePath.h"
#include "tessel/ExitStatus.h"

namespace tessel {

using ChatPlatform::AppGroup;
using ChatPlatform::SharedServer;
using ChatPlatform::SharedServerStore;
using Foundation::printable;

namespace {

struct Arguments {
    std::string bundle;
    std::string format = "text";
    std::string url;
    SharedServer server;
};

/// The check of an option: a record is JSON, which holds nothing but UTF-8.
std::string utf8Only(const std::string& text) {
    return Foundation::isValidUTF8(text) ? std::string() : "the text is not UTF-8";
}

void print(const std::string& line) {
    Foundation::writeToStandardOutput(line + '\n');
}

/// Says what keeps the records from being read. A damaged one is named: it is in the way of all.
void report(const SharedServerStore& store, const std::exception& error) {
    std::string place = store.directory;
    if (dynamic_cast<const Foundation::DecodingError*>(&error) != nullptr) {
        for (const auto& name : Foundation::Files::names(store.directory)) {
            try {
                const auto file = store.directory / name;
                if (file.extension() == ".json")
                    (void)SharedServer::fromJSON(Foundation::textView(Foundation::Files::read(file)));
            } catch (const Foundation::DecodingError&) {
                place = store.directory / name;
            }
        }
    }
    Foundation::reportError("the records of servers, " + place + ": " + error.what());
}

void printRecord(const SharedServer& server, const Arguments& arguments) {
    if (arguments.format == "json")
        print(server.json());
    else
        print(printable(server.serverID) + "\t" + server.url.absoluteString() + "\t" + printable(server.userID));
}

/// Runs an operation on the records; returns the exit status.
int onStore(const Arguments& arguments, const std::function<int(const SharedServerStore&)>& operation) {
    const AppGroup group(*openBundle(arguments.bundle));
    const auto store = SharedServerStore::make(group);
    if (!store) {
        Foundation::reportError(group.identifier
                                    ? "there is no shared container: none of TESSEL_GROUP_CONTAINERS, XDG_DATA_HOME "
                                      "and HOME is set"
                                    : "there is no shared container: the extension's bundle declares no group");
        return storageFailed;
    }
    try {
        return operation(*store);
    } catch (const std::system_error&) {
        throw;  // of the output, not of the store
    } catch (const std::exception& error) {
        report(*store, error);
        return storageFailed;
    }
}

int show(const SharedServerStore& store, const Arguments& arguments) {
    const auto server = store.server(arguments.server.serverID);
    if (!server) {
        Foundation::reportError("no server has the identifier " + arguments.server.serverID);
        return notFoundOrBadInput;
    }
    if (arguments.format == "json") {
        print(server->json());
        return done;
    }
    print("URL           " + server->url.absoluteString());
    print("identifier    " + printable(server->serverID));
    print("signing key   " + printable(server->signingKey));
    print("user          " + printable(server->userID));
    print("device token  " + printable(server->deviceToken));
    return done;
}

}  // namespace

void addBundleOption(CLI::App& command, std::string& bundle) {
    command.add_option("--bundle", bundle, "The extension's bundle")
        ->check([](const std::string& path) { return path.empty() ? "a path is wanted" : ""; })
        ->type_name("PATH");
}

Foundation::URL parsedURL(const std::string& text) {
    auto url = Foundation::URL::parse(text);
    if (!url) throw CLI::ValidationError("URL", "the text is no URL (RFC 3986)");
    return *std::move(url);
}

void addServerCommands(CLI::App& app, int& status) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* server = app.add_subcommand("server", "The records of signed-in servers")->require_subcommand(1);
    addBundleOption(*server, arguments->bundle);
    const auto command = [&](const char* name, const char* description) {
        CLI::App* added = server->add_subcommand(name, description);
        addBundleOption(*added, arguments->bundle);
        return added;
    };
    const auto formatOption = [&](CLI::App* added) {
        added->add_option("--format", arguments->format, "json: the record's own JSON, one per line")
            ->check(CLI::IsMember({"text", "json"}))
            ->capture_default_str();
    };

    CLI::App* add = command("add", "Saves a server's record, as the client does at sign-in");
    const auto text = [&](const char* name, std::string& target, const char* description) {
        add->add_option(name, target, description)->required()->check(utf8Only)->type_name("TEXT");
    };
    text("--url", arguments->url, "The server's address");
    text("--id", arguments->server.serverID, "The server's identifier, which names the record's file");
    add->get_option("--id")->check([](const std::string& id) { return id.empty() ? "the text is empty" : ""; });
    text("--signing-key", arguments->server.signingKey, "Base64 of the DER P-256 public key that it signs with");
    text("--user", arguments->server.userID, "The signed-in user's identifier");
    text("--device-token", arguments->server.deviceToken, "The device token registered with the server");
    add->callback([arguments, &status] {
        arguments->server.url = parsedURL(arguments->url);
        status = onStore(*arguments, [&](const SharedServerStore& store) {
            store.save(arguments->server);
            return done;
        });
    });

    CLI::App* list = command("list", "Lists the records: identifier, address, user");
    formatOption(list);
    list->callback([arguments, &status] {
        status = onStore(*arguments, [&](const SharedServerStore& store) {
            for (const auto& record : store.servers())
                printRecord(record, *arguments);
            return done;
        });
    });

    CLI::App* showCommand = command("show", "Shows the record of an identifier");
    formatOption(showCommand);
    showCommand->add_option("ID", arguments->server.serverID, "The server's identifier")->required();
    showCommand->callback([arguments, &status] {
        status = onStore(*arguments, [&](const SharedServerStore& store) { return show(store, *arguments); });
    });

    CLI::App* remove = command("remove", "Removes every record of an address; done also where there is none");
    remove->add_option("URL", arguments->url, "The server's address, spelled as it was saved")->required();
    remove->callback([arguments, &status] {
        const auto url = parsedURL(arguments->url);
        status = onStore(*arguments, [&](const SharedServerStore& store) {
            store.removeServer(url);
            return done;
        });
    });
}

}  // namespace tessel
