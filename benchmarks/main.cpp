#include "benchmarks/RatioReporter.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

int main(int count, char** arguments) {
    // Medians of five, unless the caller says otherwise.
    std::vector<std::string> texts{"velk-benchmarks", "--benchmark_repetitions=5",
                                   "--benchmark_report_aggregates_only=true"};
    texts.insert(texts.end(), arguments + 1, arguments + count);
    std::vector<char*> all;
    for (std::string& text : texts) {
        all.push_back(text.data());
    }
    int size = static_cast<int>(all.size());
    benchmark::Initialize(&size, all.data());
    if (benchmark::ReportUnrecognizedArguments(size, all.data())) {
        return 2;
    }
    velk::benchmarks::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
