#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

namespace Foundation {

/// The directory that the programs of one application group share: one per group identifier in
/// $TESSEL_GROUP_CONTAINERS, else in $XDG_DATA_HOME/group-containers, else in ~/.local/share/group-containers.
/// Absent where none of these is known. The directory may not exist yet; whoever writes there creates it.
std::optional<std::filesystem::path> containerURL(std::string_view applicationGroupIdentifier);

}  // namespace Foundation
