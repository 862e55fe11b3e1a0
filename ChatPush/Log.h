#pragma once

#include "os/Logger.h"

namespace ChatPush {

/// The log of the push pipeline.
inline const os::Logger& log() {
    static constexpr os::Logger shared("com.norvane.tessel", "Push");
    return shared;
}

}  // namespace ChatPush
