#include "Desktop/LauncherBadge.h"

#include <map>
#include <string>

namespace Desktop {

namespace {

constexpr const char* interface = "com.canonical.Unity.LauncherEntry";
using Properties = std::map<std::string, sdbus::Variant>;

}  // namespace

LauncherBadge::LauncherBadge(Bus& bus) : entry_(sdbus::createObject(bus.connection(), "/com/norvane/tessel/launcher")) {
    entry_->registerSignal("Update").onInterface(interface).withParameters<std::string, Properties>();
    entry_->finishRegistration();
}

void LauncherBadge::show(std::int64_t count) {
    const Properties properties = {{"count", sdbus::Variant(count)}, {"count-visible", sdbus::Variant(count > 0)}};
    entry_->emitSignal("Update").onInterface(interface).withArguments(
        std::string("application://com.norvane.tessel.desktop"), properties);
}

}  // namespace Desktop
