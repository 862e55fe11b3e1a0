#include "Foundation/GroupContainer.h"

#include <cstdlib>

namespace Foundation {

std::optional<std::string_view> environmentVariable(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0') return std::nullopt;
    return value;
}

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
