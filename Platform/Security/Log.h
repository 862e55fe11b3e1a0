#pragma once

#include "os/Logger.h"

namespace Security {

/// Why there is no secret store, which a status does not tell.
inline const os::Logger& log() {
    static constexpr os::Logger shared("com.norvane.tessel", "Security");
    return shared;
}

}  // namespace Security
