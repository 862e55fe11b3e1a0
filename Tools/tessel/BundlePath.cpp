#include "tessel/BundlePath.h"

#include <system_error>

#include "Foundation/FatalError.h"
#include "Foundation/GroupContainer.h"

namespace tessel {

namespace {

constexpr const char* bundleName = "TesselMacNotificationService.appex";

}  // namespace

std::filesystem::path bundlePath(const std::string& given) {
    if (!given.empty()) return given;
    if (const auto chosen = Foundation::environmentVariable("TESSEL_BUNDLE")) return *chosen;
    std::error_code ignored;
    const auto programs = std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
    const auto built = programs.parent_path() / bundleName;
    if (std::filesystem::exists(built, ignored)) return built;
    return (programs / TESSEL_INSTALLED_BUNDLES / bundleName).lexically_normal();
}

std::shared_ptr<const Foundation::Bundle> openBundle(const std::string& given) {
    const auto path = bundlePath(given);
    auto bundle = Foundation::Bundle::open(path);
    if (!bundle) Foundation::fatalError("there is no extension bundle at " + path.string(), "tessel");
    return bundle;
}

}  // namespace tessel
