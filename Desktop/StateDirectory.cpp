#include "Desktop/StateDirectory.h"

#include <stdexcept>

#include "Foundation/Environment.h"

namespace Desktop {

std::filesystem::path stateDirectory() {
    std::filesystem::path directory;
    // A relative one is to be ignored.
    if (const auto state = Foundation::environmentVariable("XDG_STATE_HOME"); state && state->starts_with('/'))
        directory = *state;
    else if (const auto home = Foundation::environmentVariable("HOME"))
        directory = std::filesystem::path(*home) / ".local/state";
    else
        throw std::runtime_error("there is no state directory: neither XDG_STATE_HOME nor HOME is set");
    return directory / "tessel";
}

}  // namespace Desktop
