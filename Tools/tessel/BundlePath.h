#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "Bundle/Bundle.h"

namespace tessel {

/// Where the extension's bundle is: the path given, else $TESSEL_BUNDLE, else the one of the build tree or
/// installation that this program stands in. An empty path counts as not given.
std::filesystem::path bundlePath(const std::string& given);

/// The bundle there. Stops the process where there is none.
std::shared_ptr<const Foundation::Bundle> openBundle(const std::string& given);

}  // namespace tessel
