#pragma once

#include "os/Logger.h"

namespace Desktop {

/// The log of the desktop's part.
inline const os::Logger& log() {
    static const os::Logger shared("com.norvane.tessel", "Desktop");
    return shared;
}

}  // namespace Desktop
