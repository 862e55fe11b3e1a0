#include "tessel/PushCommand.h"

#include <cerrno>
#include <cstdio>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <unistd.h>

#include "Foundation/FatalError.h"
#include "tessel/BundlePath.h"
#include "tessel/ExitStatus.h"

namespace tessel {

int runPush(int argc, char** argv) {
    constexpr std::string_view option = "--bundle";
    std::string bundle;
    std::vector<std::string> arguments = {"tessel push"};
    bool readsOptions = true;
    for (int i = 2; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--") readsOptions = false;
        if (readsOptions && argument == option) {
            if (++i == argc) {
                std::fputs("--bundle: a path is wanted\n", stderr);
                return wrongUsage;
            }
            bundle = argv[i];
        } else if (readsOptions && argument.starts_with("--bundle=")) {
            bundle = argument.substr(option.size() + 1);
        } else {
            arguments.emplace_back(argument);
        }
    }

    const std::string program = openBundle(bundle)->bundlePath() / "Contents/MacOS/TesselMacNotificationService";
    std::vector<char*> pointers;
    for (auto& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    ::execv(program.c_str(), pointers.data());
    Foundation::fatalError(program + ": " + std::generic_category().message(errno), "tessel");
}

}  // namespace tessel
