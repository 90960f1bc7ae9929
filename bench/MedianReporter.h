// The console's report, which keeps the medians for a last line.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace bench {

class MedianReporter : public benchmark::ConsoleReporter {
public:
    MedianReporter() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const auto& run : runs) {
            hasFailed = hasFailed || run.error_occurred;
            if (run.aggregate_name != "median")
                continue;
            medians[run.run_name.function_name] = run.GetAdjustedRealTime();
            processorMedians[run.run_name.function_name] = run.GetAdjustedCPUTime();
        }
    }

    std::map<std::string, double> medians;           // real time by benchmark
    std::map<std::string, double> processorMedians;  // what other programs take doesn't count
    bool hasFailed = false;
};

/// Runs what is registered, the benchmarks taking turns. False for bad arguments and for a benchmark that
/// failed.
[[nodiscard]] inline bool RunByTurns(int argc, char** argv, MedianReporter& reporter) {
    std::vector<char*> arguments(argv, argv + argc);
    char byTurns[] = "--benchmark_enable_random_interleaving=true";
    arguments.insert(arguments.begin() + 1, byTurns);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return false;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return !reporter.hasFailed;
}

}  // namespace bench
