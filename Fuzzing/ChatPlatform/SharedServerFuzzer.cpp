#include "Support.h"

#include <stdexcept>

#include "ChatPlatform/SharedServerStore.h"
#include "Foundation/CocoaError.h"
#include "Foundation/DecodingError.h"
#include "Support/Files.h"

using namespace ChatPlatform;
using Foundation::CocoaError;
using Foundation::DecodingError;
using Fuzzing::check;

namespace {

/// A server's record: stored and read again, it is the same.
void checkStored(const SharedServerStore& store, const SharedServer& server) {
    // The name is another URL's as yet, and the URL another name's.
    SharedServer named = server, older = server;
    named.url = *Foundation::URL::parse("https://other.example");
    older.serverID = "older";
    try {
        store.save(named);
        store.save(older);
        store.save(server);
    } catch (const std::invalid_argument&) {
        return;  // text that is not UTF-8
    } catch (const CocoaError& error) {
        check(server.serverID.size() > 200, "a record is stored where its name is not too long", error.what());
        return;
    }
    check(store.server(server.serverID) == server, "a record that is stored and read again is the same");
    check(store.server(server.url) == server, "a record is found by its URL");
    check(store.servers() == std::vector{server}, "a URL has one record");
    check(std::hash<SharedServer>()(store.servers().front()) == std::hash<SharedServer>()(server), "its hash too");
    store.removeServer(server.url);
    check(store.servers().empty(), "a record that is removed is gone");
}

/// What somebody else has written into a record's file is read, or refused by an error that names the fault.
void checkHostile(const SharedServerStore& store, std::string_view content) {
    Support::writeFile(store.directory / "s1.json", content);
    const auto read = Fuzzing::unless<DecodingError>([&] { return store.server("s1").value(); });
    if (read) check(SharedServer::fromJSON(read->json()) == *read, "what was read can be written", content);
    const auto listed = Fuzzing::unless<DecodingError>([&] { return store.servers(); });
    check(listed.has_value() == read.has_value(), "a damaged record fails the listing", content);
    std::filesystem::remove(store.directory / "s1.json");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Support::TemporaryDirectory directory;
    static const SharedServerStore store(directory / "Servers");
    FuzzedDataProvider input(data, size);
    if (input.ConsumeBool()) {
        checkHostile(store, Fuzzing::textView(data, size - 1));
        return 0;
    }
    const auto text = [&] { return input.ConsumeRandomLengthString(300); };
    const auto url = Foundation::URL::parse(text());
    SharedServer server{url.value_or(*Foundation::URL::parse("https://chat.example")), text(), text(), text(), text()};
    // The identifier becomes part of a path as it stands; a file that is named by its extension alone is not listed.
    const bool isName = server.serverID.find_first_of(std::string_view("/\0", 2)) == std::string::npos;
    if (isName && !server.serverID.empty()) checkStored(store, server);
    return 0;
}
