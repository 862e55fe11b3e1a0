#include <memory>

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
    ExtensionHost::main(argc, argv, checkBundle,
                        [] { return std::make_unique<TesselMacNotificationService::NotificationService>(); });
}
