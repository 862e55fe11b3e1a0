#include "ChatPlatform/SharedServerStore.h"

#include <cerrno>
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
    const auto known = servers();
    // Everything that can be done beforehand is: between the removal of an old record and the appearance of the new
    // one lies a rename. A record of the same name is not removed but replaced.
    Files::AtomicWrite write(file(server.serverID), Foundation::bytes(server.json()));
    for (const auto& old : known) {
        if (old.url != server.url) continue;
        if (old.serverID != server.serverID)
            Files::remove(file(old.serverID));
        else if (!Files::exists(file(old.serverID)))
            throw CocoaError(CocoaError::Operation::remove, ENOENT, file(old.serverID));
    }
    write.commit();
}

void SharedServerStore::removeServer(const Foundation::URL& url) const {
    for (const auto& server : servers())
        if (server.url == url) Files::remove(file(server.serverID));
}

}  // namespace ChatPlatform
