#pragma once

#include <new>
#include <stdexcept>
#include <string>

#include <unicode/utypes.h>

namespace Text {

/// Throws where ICU could not do what it was asked. The error stands there by its number: to ask ICU for the name would
/// make a program load it that otherwise does when it first needs it.
inline void check(UErrorCode error) {
    if (error == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
    if (U_FAILURE(error)) throw std::runtime_error("ICU failed with error " + std::to_string(error));
}

}  // namespace Text
