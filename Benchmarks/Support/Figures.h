#pragma once

#include <optional>
#include <string>
#include <vector>

/// The table of what was measured, each figure beside its peer or its limit.
namespace Figures {

struct Row {
    std::string what;
    double figure = 0;
    std::string besideWhat;  ///< the peer, or "limit"
    double beside = 0;
    std::string unit;              ///< of both
    std::optional<double> atMost;  ///< what figure : beside is to reach; absent where it is only told
};

/// Prints the row to standard output, as one line of a table whose head `scripts/bench` prints.
void print(const Row& row);

/// The median; of an even number of values the mean of the middle two. There must be one at least.
double median(std::vector<double> values);

}  // namespace Figures
