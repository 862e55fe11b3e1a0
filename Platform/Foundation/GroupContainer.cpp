#include "Foundation/GroupContainer.h"

#include "Foundation/Environment.h"

namespace Foundation {

std::optional<std::filesystem::path> containerURL(std::string_view applicationGroupIdentifier) {
    std::filesystem::path containers;
    if (const auto chosen = environmentVariable("TESSEL_GROUP_CONTAINERS")) containers = *chosen;
    // A relative XDG_DATA_HOME is to be ignored (XDG Base Directory 0.8).
    else if (const auto data = environmentVariable("XDG_DATA_HOME"); data && data->starts_with('/'))
        containers = std::filesystem::path(*data) / "group-containers";
    else if (const auto home = environmentVariable("HOME"))
        containers = std::filesystem::path(*home) / ".local/share/group-containers";
    else
        return std::nullopt;
    return containers / applicationGroupIdentifier;
}

}  // namespace Foundation
