#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Desktop/Texts.h"

namespace Desktop {

/// Takes the pushes of these files through the extension and shows them, as `tessel-desktop show` does; returns its
/// exit status. Those that cannot be shown in time stay in the spool for the service.
int show(const std::vector<std::string>& files, const std::filesystem::path& extension, const Texts& texts);

}  // namespace Desktop
