#include "benchmarks/RatioReporter.h"

#include <iomanip>
#include <iostream>

namespace velk::benchmarks {

namespace {

double baselineOf(const std::string& group, const std::map<std::string, double>& baselines) {
    const auto found = baselines.find(group);
    return found == baselines.end() ? 0.0 : found->second;
}

} // namespace

void RatioReporter::ReportRuns(const std::vector<Run>& runs) {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
        if (run.aggregate_name != "median") {
            continue;
        }
        const std::string full = run.run_name.function_name;
        const auto slash = full.find('/');
        const double inNanoseconds = 1e9 / benchmark::GetTimeUnitMultiplier(run.time_unit);
        groups[full.substr(0, slash)].push_back(
            {full.substr(slash + 1), run.GetAdjustedRealTime() * inNanoseconds});
    }
}

void RatioReporter::Finalize() {
    std::map<std::string, double> baselines;
    for (const auto& [group, medians] : groups) {
        for (const Median& median : medians) {
            if (median.name == "baseline") {
                baselines[group] = median.nanoseconds;
            }
        }
    }
    std::cout << "\n| Measured | median | ratio to its baseline |\n|---|---:|---:|\n" << std::fixed;
    for (const auto& [group, medians] : groups) {
        const double baseline = baselineOf(group, baselines);
        for (const Median& median : medians) {
            std::cout << "| " << group << ": " << median.name << " | " << std::setprecision(3)
                      << median.nanoseconds / 1000.0 << " us | " << std::setprecision(2)
                      << median.nanoseconds / baseline << " |\n";
        }
    }
}

} // namespace velk::benchmarks
