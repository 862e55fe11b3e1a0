#pragma once

#include <string_view>

namespace Foundation {

/// Exit status of a process that a fatal error stopped (EX_SOFTWARE of sysexits.h).
inline constexpr int fatalExitStatus = 70;

/// Stops the process for an error of packaging or programming: writes "SOURCE: Fatal error: MESSAGE" to standard
/// error and leaves with `fatalExitStatus`, without running exit handlers: other threads may still be at work.
[[noreturn]] void fatalError(std::string_view message, std::string_view source);

/// From here on, memory that runs out where nothing can catch that (in a library's function that must not throw, at the
/// start of a thread) is such an error as well. Otherwise it would abort the process, and its secrets go into a core file.
void makeLackOfMemoryFatal();

}  // namespace Foundation
