#pragma once

#include <filesystem>
#include <string>

namespace Foundation {

/// Where the extension's bundle is: the path given, else $TESSEL_BUNDLE, else the one of the build tree or
/// installation that this program stands in. An empty path counts as not given.
std::filesystem::path extensionBundlePath(const std::string& given);

}  // namespace Foundation
