#pragma once

#include <chrono>

namespace Foundation {

/// An instant, in seconds since 1970-01-01 00:00 UTC, leap seconds not counted.
struct Date {
    double secondsSince1970 = 0;

    /// The system clock's time.
    static Date now() {
        return {std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count()};
    }
};

}  // namespace Foundation
