#pragma once

#include <filesystem>
#include <string>

namespace Foundation {

/// Where the extension's bundle is: the path given, else $TESSEL_BUNDLE, else the one of the build tree or
/// installation that this program stands in. An empty path counts as not given.
std::filesystem::path extensionBundlePath(const std::string& given);

/// The extension's program in its bundle, whether it is there or not.
std::filesystem::path extensionProgram(const std::filesystem::path& bundle);

}  // namespace Foundation
