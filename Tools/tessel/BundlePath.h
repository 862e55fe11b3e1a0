#pragma once

#include <memory>
#include <string>

#include "Bundle/Bundle.h"

namespace tessel {

/// The extension's bundle, where `Foundation::extensionBundlePath` finds it. Stops the process where there is none.
std::shared_ptr<const Foundation::Bundle> openBundle(const std::string& given);

}  // namespace tessel
