#pragma once

#include <cstddef>

/// What a program asks of the heap, its libraries included: whoever links the target CountedAllocations has the C
/// library's own functions counted. That costs time, which a program that is so counted does not measure.
namespace Allocations {

/// Of all threads, since the program began. Sizes are what the heap gave, which may be more than was asked for.
struct Count {
    std::size_t number = 0;
    std::size_t bytes = 0;
    std::size_t held = 0;  ///< bytes that have not been given back
};

Count count();

}  // namespace Allocations
