#include "ChatPlatform/SharedServerStore.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include "Foundation/Files.h"

namespace ChatPlatform {

using Foundation::CocoaError;
namespace Files = Foundation::Files;

namespace {

constexpr const char* extension = ".json";

/// Nothing where there is no such file.
std::optional<SharedServer> recordIn(const std::filesystem::path& file) {
    try {
        return SharedServer::fromJSON(Foundation::textView(Files::read(file)));
    } catch (const CocoaError& error) {
        if (error.code() != CocoaError::Code::fileReadNoSuchFile) throw;
        return std::nullopt;
    }
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
    for (const auto& name : names) {
        const auto file = directory / name;
        if (file.extension() != extension) continue;
        if (auto server = recordIn(file))
            servers.push_back(*std::move(server));
        else if (std::error_code none; std::filesystem::is_symlink(file, none))
            throw CocoaError(CocoaError::Operation::read, ENOENT, file);
        // Else another process has removed it since its name was read.
    }
    return servers;
}

std::optional<SharedServer> SharedServerStore::server(const std::string& serverID) const {
    return recordIn(file(serverID));
}

std::optional<SharedServer> SharedServerStore::server(const Foundation::URL& url) const {
    for (auto& server : servers())
        if (server.url == url) return std::move(server);
    return std::nullopt;
}

void SharedServerStore::save(const SharedServer& server) const {
    Files::createDirectory(directory);
    const auto target = file(server.serverID);
    // A record of the same name is not removed but replaced. Where its file is missing, or a second record bears the
    // name, there is nothing to remove for it.
    std::vector<std::filesystem::path> others;
    bool canBeReplaced = Files::exists(target);
    for (const auto& old : servers()) {
        if (old.url != server.url) continue;
        if (old.serverID != server.serverID)
            others.push_back(file(old.serverID));
        else if (!std::exchange(canBeReplaced, false))
            throw CocoaError(CocoaError::Operation::remove, ENOENT, target);
    }
    // From the removal of an old record to the appearance of the new one there is no record of the URL: everything that
    // takes time is done before.
    Files::AtomicWrite(target, Foundation::bytes(server.json())).commit(others);
}

void SharedServerStore::removeServer(const Foundation::URL& url) const {
    for (const auto& server : servers())
        if (server.url == url) Files::remove(file(server.serverID));
}

}  // namespace ChatPlatform
