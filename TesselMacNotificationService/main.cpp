#include <cstdio>
#include <memory>

#include <unistd.h>

#include "Bundle/Bundle.h"
#include "ChatPlatform/AppGroup.h"
#include "ChatPush/ResourceBundle.h"
#include "ExtensionHost/Main.h"
#include "TesselMacNotificationService/NotificationService.h"

int main(int argc, char** argv) {
    const auto checkBundle = [] {
        (void)ChatPlatform::AppGroup(Foundation::Bundle::main());
        (void)ChatPush::resourceBundle();
    };
    const int status = ExtensionHost::main(
        argc, argv, checkBundle, [] { return std::make_unique<TesselMacNotificationService::NotificationService>(); });
    // Without exit handlers: threads that still wait for the network would meet what these have torn down.
    std::fflush(stdout);
    ::_exit(status);
}
