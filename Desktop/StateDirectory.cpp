#include "Desktop/StateDirectory.h"

#include <cerrno>

#include "Foundation/CocoaError.h"
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
        throw Foundation::CocoaError(Foundation::CocoaError::Operation::write, ENOENT, "~/.local/state");
    return directory / "tessel";
}

}  // namespace Desktop
