#include "Bundle/ExtensionBundle.h"

#include <system_error>

#include "Foundation/Environment.h"

namespace Foundation {

std::filesystem::path extensionBundlePath(const std::string& given) {
    constexpr const char* bundleName = "TesselMacNotificationService.appex";
    if (!given.empty()) return given;
    if (const auto chosen = environmentVariable("TESSEL_BUNDLE")) return *chosen;
    std::error_code ignored;
    const auto programs = std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
    const auto built = programs.parent_path() / bundleName;
    if (std::filesystem::exists(built, ignored)) return built;
    return (programs / TESSEL_INSTALLED_BUNDLES / bundleName).lexically_normal();
}

std::filesystem::path extensionProgram(const std::filesystem::path& bundle) {
    return bundle / "Contents/MacOS/TesselMacNotificationService";
}

}  // namespace Foundation
