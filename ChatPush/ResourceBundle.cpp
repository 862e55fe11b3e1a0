#include "ChatPush/ResourceBundle.h"

#include <filesystem>
#include <memory>
#include <optional>

#include "Foundation/FatalError.h"

namespace ChatPush {

namespace {

/// Its code lies where the library's does, and so tells the bundle that holds the library.
class BundleFinder {
public:
    static std::shared_ptr<const Foundation::Bundle> bundle() {
        return Foundation::Bundle::containing(reinterpret_cast<const void*>(&BundleFinder::bundle));
    }
};

std::shared_ptr<const Foundation::Bundle> find() {
    const auto& main = Foundation::Bundle::main();
    const auto holder = BundleFinder::bundle();
    const std::optional<std::filesystem::path> candidates[] = {
        main.resourcePath(), holder ? std::optional(holder->resourcePath()) : std::nullopt, main.bundlePath()};
    for (const auto& candidate : candidates) {
        if (!candidate) continue;
        if (auto bundle = Foundation::Bundle::open(*candidate / "TesselKit_ChatPush.bundle")) return bundle;
    }
    Foundation::fatalError("unable to find bundle named TesselKit_ChatPush", "ChatPush/resource_bundle_accessor");
}

}  // namespace

const Foundation::Bundle& resourceBundle() {
    static const auto* const bundle = new std::shared_ptr<const Foundation::Bundle>(find());
    return **bundle;
}

}  // namespace ChatPush
