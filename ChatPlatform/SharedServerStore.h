#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "ChatPlatform/AppGroup.h"
#include "ChatPlatform/SharedServer.h"

namespace ChatPlatform {

/// The records of the signed-in servers: one file per server in a directory that application and extensions share,
/// named by the server's identifier and ".json". There are no locks: a reader sees the old or the new whole file.
/// Operations throw `Foundation::CocoaError` and `Foundation::DecodingError`; not finding something is no error.
struct SharedServerStore {
    /// Where the records lie (a location that the platform gives as a file URL). It may not exist yet.
    std::filesystem::path directory;

    /// The store in this directory, which `save` makes where it is missing.
    explicit SharedServerStore(std::filesystem::path directory);

    /// The store in the group's container, in "Library/Servers"; nothing where the group has no container.
    static std::optional<SharedServerStore> make(const AppGroup& group);

    /// Every record, in the file system's order. One damaged file makes the whole listing fail; one that is removed
    /// meanwhile is left out.
    std::vector<SharedServer> servers() const;

    /// The record of an identifier, which becomes part of the path as it stands.
    std::optional<SharedServer> server(const std::string& serverID) const;

    /// The first record of a URL, compared by its spelling.
    std::optional<SharedServer> server(const Foundation::URL& url) const;

    /// Stores the record and deletes every other one of the same URL. These are looked for under their identifiers'
    /// names: one that lies in a file of another name is an error.
    void save(const SharedServer& server) const;

    /// Deletes every record of the URL; the first failure ends it.
    void removeServer(const Foundation::URL& url) const;

private:
    std::filesystem::path file(const std::string& serverID) const;
};

}  // namespace ChatPlatform
