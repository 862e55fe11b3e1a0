#include "ChatPlatform/SharedServerStore.h"

#include <utility>

#include "Foundation/Files.h"

namespace ChatPlatform {

using Foundation::CocoaError;
namespace Files = Foundation::Files;

namespace {

constexpr const char* extension = ".json";

SharedServer recordIn(const std::filesystem::path& file) {
    return SharedServer::fromJSON(Foundation::textView(Files::read(file)));
}

}  // namespace

SharedServerStore::SharedServerStore(std::filesystem::path place) : directory(std::move(place)) {}

std::optional<SharedServerStore> SharedServerStore::make(const AppGroup& group) {
    const auto container = group.containerURL();
    if (!container) return std::nullopt;
    return SharedServerStore(*container / "Library" / "Servers");
}

std::filesystem::path SharedServerStore::file(const std::string& serverID) const {
    // As text: an identifier that begins with a slash must not replace the directory.
    return directory.native() + '/' + serverID + extension;
}

std::vector<SharedServer> SharedServerStore::servers() const {
    std::vector<std::string> names;
    try {
        names = Files::names(directory);
    } catch (const CocoaError& error) {
        if (error.code() != CocoaError::Code::fileReadNoSuchFile) throw;
    }
    std::vector<SharedServer> servers;
    for (const auto& name : names)
        if (std::filesystem::path(name).extension() == extension) servers.push_back(recordIn(directory / name));
    return servers;
}

std::optional<SharedServer> SharedServerStore::server(const std::string& serverID) const {
    try {
        return recordIn(file(serverID));
    } catch (const CocoaError& error) {
        if (error.code() != CocoaError::Code::fileReadNoSuchFile) throw;
        return std::nullopt;
    }
}

std::optional<SharedServer> SharedServerStore::server(const Foundation::URL& url) const {
    for (auto& server : servers())
        if (server.url == url) return std::move(server);
    return std::nullopt;
}

void SharedServerStore::save(const SharedServer& server) const {
    Files::createDirectory(directory);
    const auto target = file(server.serverID);
    // A record of the same name is not removed but replaced. Where its file is missing, the removal fails in its turn.
    std::vector<std::filesystem::path> others;
    for (const auto& old : servers())
        if (old.url == server.url && (old.serverID != server.serverID || !Files::exists(target)))
            others.push_back(file(old.serverID));
    // From the removal of an old record to the appearance of the new one there is no record of the URL: everything that
    // takes time is done before.
    Files::AtomicWrite(target, Foundation::bytes(server.json())).commit(others);
}

void SharedServerStore::removeServer(const Foundation::URL& url) const {
    for (const auto& server : servers())
        if (server.url == url) Files::remove(file(server.serverID));
}

}  // namespace ChatPlatform
