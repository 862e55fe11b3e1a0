#include "Support/Comparison.h"

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

}  // namespace

int compare(int argc, char** argv, const std::vector<Comparison>& comparisons) {
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
    for (const auto& comparison : comparisons) {
        if (added.insert(comparison.what).second) add(comparison.what, comparison.operation);
        if (comparison.peer && added.insert(comparison.peerName).second) add(comparison.peerName, comparison.peer);
    }
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);

    int status = 0;
    for (const auto& comparison : comparisons) {
        const auto& times = collector.times[comparison.what];
        const auto& peerTimes = collector.times[comparison.peerName];
        if (times.empty() || (comparison.peer && peerTimes.empty())) {
            std::cerr << "not measured: " << comparison.what << ", beside " << comparison.peerName << '\n';
            status = 1;
            continue;
        }
        const double beside = comparison.peer ? Figures::median(peerTimes) : comparison.limitInMicroseconds;
        Figures::print({comparison.what, Figures::median(times), comparison.peerName, beside, "µs", comparison.atMost});
    }
    return status;
}
