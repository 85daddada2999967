#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace velk::benchmarks {

/// Prints what the console reporter prints, and at the end a table of medians with their ratio to the
/// baseline of their group. A benchmark is called "group/name"; the baseline of a group is "group/baseline".
class RatioReporter : public benchmark::ConsoleReporter {
public:
    RatioReporter() : ConsoleReporter{OO_Tabular} {}

    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

private:
    struct Median {
        std::string name;
        double nanoseconds;
    };

    std::map<std::string, std::vector<Median>> groups;
};

} // namespace velk::benchmarks
