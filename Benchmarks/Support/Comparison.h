#pragma once

#include <array>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

/// Two operations that are measured together, so that the ratio of their times can be read. An operation that stands
/// in several comparisons has the same name in each, and is measured once.
struct Comparison {
    using Operation = std::function<void(benchmark::State&)>;

    std::string what;
    Operation operation;
    std::string peerName;
    Operation peer;
    double atMost;  ///< what operation : peer is to reach

    /// An operation that is to take no longer than this.
    static Comparison limit(std::string what, Operation operation, double microseconds) {
        return {std::move(what), std::move(operation), "limit", {}, 1.0, microseconds};
    }

    double limitInMicroseconds = 0;  ///< where there is no peer
};

/// How the time of an operation grows with its input, and the peer's with the same: 1 where the time is proportional to
/// the size, 2 where it is to its square. It is the slope of the line through the logarithms of size and time.
struct Growth {
    std::string what;
    std::string peerName;
    std::array<Comparison, 3> sizes;  ///< each ten times the one before; what they reach single is not asked here
    double atMost;                    ///< what the operation's exponent : the peer's is to reach
};

/// A benchmark program: runs each operation and its peer many times over, in an order that chance decides, so that a
/// machine that becomes faster or slower meanwhile does so for both. Compared are the medians of the time that passed.
/// Prints a row for each comparison to standard output, and the single figures to standard error. The arguments are
/// those of Google Benchmark. Returns the exit status: 1 where something could not be measured, 2 for arguments that
/// are wrong.
int compare(int argc, char** argv, const std::vector<Comparison>& comparisons, const std::vector<Growth>& growths = {});
