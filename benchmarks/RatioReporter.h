#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace velk::benchmarks {

/// Prints one table at the end: medians, their spread, and their ratio to the baseline of their group.
///
/// A benchmark is called "group/name", and its time is the figure; the baseline of a group is the one whose
/// name begins with "baseline". A counter called "group/name [unit]" is a figure of its own, for what is no
/// time or for several figures of one run; the time of a benchmark without "/" in its name is none. A group
/// with "CPU time" in its name takes that of its benchmarks. A name that ends with " {0.16}" or " {2.5 us}"
/// has a target, the greatest ratio or time that meets it.
class RatioReporter : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

private:
    struct Figure {
        std::string name;
        std::string unit;    ///< "ns" for a time
        double median{0};    ///< in that unit
        double variation{0}; ///< standard deviation as a share of the mean
        double mostRatio{0}; ///< the target; 0 for none
        double mostTime{0};  ///< likewise, in nanoseconds
    };

    struct Group {
        std::string name;
        std::vector<Figure> figures;
    };

    void note(const std::string& name, const std::string& unit, double value, bool isMedian);
    Figure& figure(const std::string& group, const std::string& name);
    static void print(const Group& group);
    /// Whether the target is met, in words; empty without one.
    static std::string verdict(const Figure& one, double ratio);

    std::vector<Group> groups; ///< in the order of the measurements
    std::string last;          ///< the benchmark that was told of last
};

} // namespace velk::benchmarks
