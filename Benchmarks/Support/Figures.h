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
    std::string unit;              ///< of both; empty for a plain number
    std::optional<double> atMost;  ///< what the ratio is to reach; absent where it is only told

    /// What figure : beside was in each round of a run, of which the median counts. Empty where there was one round,
    /// which the figures say all of.
    std::vector<double> ratios;
};

/// The row of what many runs gave, the subject's and the peer's by turns: medians of all of them, and the ratios of
/// the medians of the first fifth of the runs, of the second one and so on. There must be a run of each at least.
Row ofRuns(std::string what, const std::vector<double>& figures, std::string peer, const std::vector<double>& peers,
           std::string unit, std::optional<double> atMost);

/// Prints the row to standard output, as one line of a table whose head `scripts/bench` prints.
void print(const Row& row);

/// The median; of an even number of values the mean of the middle two. There must be one at least.
double median(std::vector<double> values);

}  // namespace Figures
