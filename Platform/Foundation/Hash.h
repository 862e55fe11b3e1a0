#pragma once

#include <cstddef>
#include <functional>

namespace Foundation {

/// A hash over several values, in their order.
template <class... Values>
std::size_t hashOf(const Values&... values) {
    std::size_t hash = 0;
    ((hash = (hash ^ std::hash<Values>()(values)) * 0x9E3779B97F4A7C15U), ...);
    return hash;
}

}  // namespace Foundation
