#include "Support/Comparison.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iostream>
#include <map>
#include <set>

#include "Support/Figures.h"

namespace {

/// Keeps the times of the single runs, in microseconds, by the benchmark's name, and shows what comes of them.
class Collector final : public benchmark::ConsoleReporter {
public:
    Collector() : ConsoleReporter(OO_Tabular) {
        SetOutputStream(&std::cerr);
        SetErrorStream(&std::cerr);
    }

    void ReportRuns(const std::vector<Run>& runs) override {
        std::vector<Run> shown;
        for (const auto& run : runs) {
            if (run.run_type == Run::RT_Aggregate || run.error_occurred)
                shown.push_back(run);
            else
                times[run.run_name.function_name].push_back(run.GetAdjustedRealTime());
        }
        ConsoleReporter::ReportRuns(shown);
    }

    std::map<std::string, std::vector<double>> times;
};

void add(const std::string& name, const Comparison::Operation& operation) {
    benchmark::RegisterBenchmark(name.c_str(), operation)->UseRealTime()->Unit(benchmark::kMicrosecond);
}

using Times = std::vector<double>;

/// The exponents of what takes these times at sizes of which each is ten times the one before: one for each round of
/// runs, so that their median and their spread are those of the other figures.
Times exponents(const std::array<Times, 3>& times) {
    Times exponents;
    const std::size_t runs = std::min({times[0].size(), times[1].size(), times[2].size()});
    for (std::size_t run = 0; run < runs; ++run)
        // Of three points at equal distances the line's slope is that between the outer two.
        exponents.push_back(std::log10(times[2][run] / times[0][run]) / 2);
    return exponents;
}

}  // namespace

int compare(int argc, char** argv, const std::vector<Comparison>& comparisons, const std::vector<Growth>& growths) {
    // The program's own come first: of equal options the last one counts. Runs are many and short, so that most are
    // spared by whatever else the machine does.
    std::vector<std::string> options = {"--benchmark_enable_random_interleaving=true", "--benchmark_repetitions=200",
                                        "--benchmark_min_time=0.01"};
    std::vector<char*> arguments = {argv[0]};
    for (auto& option : options)
        arguments.push_back(option.data());
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;

    std::set<std::string> added;
    const auto addBoth = [&](const Comparison& comparison) {
        if (added.insert(comparison.what).second) add(comparison.what, comparison.operation);
        if (comparison.peer && added.insert(comparison.peerName).second) add(comparison.peerName, comparison.peer);
    };
    std::for_each(comparisons.begin(), comparisons.end(), addBoth);
    for (const auto& growth : growths)
        std::for_each(growth.sizes.begin(), growth.sizes.end(), addBoth);
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);

    int status = 0;
    const auto print = [&](const std::string& what, const Times& times, const std::string& peerName, const Times& peers,
                           const std::string& unit, double atMost) {
        if (!times.empty() && !peers.empty())
            return Figures::print(Figures::ofRuns(what, times, peerName, peers, unit, atMost));
        std::cerr << "not measured: " << what << ", beside " << peerName << '\n';
        status = 1;
    };
    for (const auto& comparison : comparisons) {
        const auto& times = collector.times[comparison.what];
        print(comparison.what, times, comparison.peerName,
              comparison.peer ? collector.times[comparison.peerName]
                              : Times(times.size(), comparison.limitInMicroseconds),
              "µs", comparison.atMost);
    }
    for (const auto& [what, peerName, sizes, atMost] : growths) {
        std::array<Times, 3> times, peers;
        for (std::size_t i = 0; i < sizes.size(); ++i) {
            times[i] = collector.times[sizes[i].what];
            peers[i] = collector.times[sizes[i].peerName];
        }
        print("growth exponent, " + what, exponents(times), peerName, exponents(peers), "", atMost);
    }
    return status;
}
