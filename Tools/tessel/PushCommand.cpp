#include "tessel/PushCommand.h"

#include <cerrno>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <variant>
#include <vector>

#include <unistd.h>

#include "Bundle/ExtensionBundle.h"
#include "ExtensionHost/CommandLine.h"
#include "Foundation/FatalError.h"
#include "Foundation/StandardStreams.h"
#include "tessel/BundlePath.h"
#include "tessel/ExitStatus.h"

namespace tessel {

int runPush(int argc, char** argv) {
    constexpr std::string_view option = "--bundle";
    std::optional<std::string> bundle;
    std::vector<std::string> arguments = {"tessel push"};
    bool readsOptions = true;
    for (int i = 2; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--") readsOptions = false;
        if (readsOptions && argument == option)
            bundle = ++i < argc ? argv[i] : "";
        else if (readsOptions && argument.starts_with("--bundle="))
            bundle = argument.substr(option.size() + 1);
        else
            arguments.emplace_back(argument);
    }
    if (bundle && bundle->empty()) {
        Foundation::reportError("--bundle: a path is wanted");
        return wrongUsage;
    }

    std::vector<char*> pointers;
    for (auto& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    // Read here as well, so that help and errors need no bundle.
    const auto parsed = ExtensionHost::parseCommandLine(static_cast<int>(arguments.size()), pointers.data(),
                                                        "  --bundle PATH               The extension's bundle");
    if (const int* status = std::get_if<int>(&parsed)) return *status;

    const std::string program = Foundation::extensionProgram(openBundle(bundle.value_or(""))->bundlePath());
    ::execv(program.c_str(), pointers.data());
    Foundation::fatalError(program + ": " + std::generic_category().message(errno), "tessel");
}

}  // namespace tessel
