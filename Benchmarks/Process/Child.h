#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Foundation/Descriptor.h"

using Foundation::Descriptor;

/// Both throw `std::system_error`.
Descriptor openForReading(const std::string& file);
std::pair<Descriptor, Descriptor> makePipe();  ///< what it is read from, what it is written to

/// What a process took. Times in milliseconds, from before it was started; sizes in MiB, each at its highest.
struct Taken {
    std::optional<double> untilFirstLine;  ///< of its output; absent where it wrote none
    double untilExit = 0;

    /// All that was resident, libraries' pages included, which the processes of a machine share: the kernel's own
    /// account (ru_maxrss).
    double resident = 0;

    /// The same in two parts, where the memory was watched: /proc/PID/status, read every two milliseconds and at each
    /// line of output. What is the process' own (RssAnon, RssShmem), and what are pages of files (RssFile).
    double own = 0;
    double ofFiles = 0;
};

/// Runs a program to its end, found as a shell finds it. Each line of its output is handed over. Throws
/// `std::system_error` where it cannot be started, and `std::runtime_error` where it does not end with status 0.
Taken run(const std::vector<std::string>& command, const Descriptor& input,
          const std::function<void(std::string_view)>& takeLine, bool watchMemory = false);
