#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "Bundle/Bundle.h"

namespace ChatPlatform {

/// What the application and its extensions have in common, as their bundles declare it.
struct AppGroup {
    /// The application group; absent where the bundle declares none, or an empty one.
    std::optional<std::string> identifier;

    /// The access group of the shared keychain items.
    std::string keychainGroup;

    /// Reads "TesselAppGroup" and "TesselKeychainGroup" of the bundle's information dictionary. A bundle without a
    /// text under the latter is an error of packaging, and stops the process.
    explicit AppGroup(const Foundation::Bundle& bundle);

    /// The directory that the group shares (a location that the platform gives as a file URL); absent without an
    /// identifier and where the platform has none for it. It may not exist yet.
    std::optional<std::filesystem::path> containerURL() const;
};

}  // namespace ChatPlatform
