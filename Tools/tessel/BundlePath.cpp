#include "tessel/BundlePath.h"

#include "Bundle/ExtensionBundle.h"
#include "Foundation/FatalError.h"

namespace tessel {

std::shared_ptr<const Foundation::Bundle> openBundle(const std::string& given) {
    const auto path = Foundation::extensionBundlePath(given);
    auto bundle = Foundation::Bundle::open(path);
    if (!bundle) Foundation::fatalError("there is no extension bundle at " + path.string(), "tessel");
    return bundle;
}

}  // namespace tessel
