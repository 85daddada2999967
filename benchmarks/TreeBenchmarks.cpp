// The whole library over a device of 100 to 50,000 data points: time from the start to MONITOR, memory, and
// time to let go of it all. Each start is a process of its own. Baselines: one insert into a plain table of
// the same database library, in a transaction of its own; a map from the path's text to the value.

#include "benchmarks/PlainTable.h"
#include "benchmarks/SyntheticDevice.h"
#include "benchmarks/SyntheticTree.h"
#include "powerdistribution/core/Value.h"
#include "testing/TemporaryDirectory.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <malloc.h>
#include <map>
#include <stdexcept>
#include <string>

namespace {

using velk::benchmarks::SyntheticDevice;
using velk::testing::TemporaryDirectory;

const std::string startGroup{"start, per data point/"};
const std::string cpuGroup{"start, CPU time per data point/"};
const std::string memoryGroup{"memory, per data point/"};

/// What one start tells of itself, per data point.
struct Start {
    double nanoseconds{0};
    double cpuNanoseconds{0};
    double heapBytes{0};
    double residentKilobytes{0};
    double endNanoseconds{0};
};

Start startOnce(std::uint32_t outlets, const std::string& url, const TemporaryDirectory& folder) {
    const std::string command = "VELK_SYNTHETIC_OUTLETS=" + std::to_string(outlets) +
                                " " VELK_BENCHMARK_START " " VELK_BENCHMARK_PLUGIN " " + url + " " +
                                folder.path().string();
    FILE* program = popen(command.c_str(), "r");
    Start one;
    const int found = std::fscanf(program, "%lf %lf %lf %lf %lf", &one.nanoseconds, &one.cpuNanoseconds,
                                  &one.heapBytes, &one.residentKilobytes, &one.endNanoseconds);
    if (pclose(program) != 0 || found != 5) {
        throw std::runtime_error{"failed: " + command};
    }
    const double points = outlets * SyntheticDevice::POINTS_OF_AN_OUTLET;
    return {one.nanoseconds / points, one.cpuNanoseconds / points, one.heapBytes / points,
            one.residentKilobytes * 1024 / points, one.endNanoseconds / points};
}

void startInFile(benchmark::State& state, std::uint32_t outlets, const std::string& points) {
    for (auto _ : state) {
        const TemporaryDirectory folder;
        const std::string url = "sqlite:" + (folder / "tess.db").string();
        const Start first = startOnce(outlets, url, folder);
        const Start again = startOnce(outlets, url, folder);
        state.counters[startGroup + points + " points, new store [ns]"] = first.nanoseconds;
        state.counters[cpuGroup + points + " points, new store [ns]"] = first.cpuNanoseconds;
        state.counters[cpuGroup + points + " points, known store [ns]"] = again.cpuNanoseconds;
        state.counters[startGroup + points + " points, known store [ns]"] = again.nanoseconds;
        state.counters[startGroup + points + " points, the end [ns]"] = first.endNanoseconds;
        state.counters[memoryGroup + points + " points, heap [B]"] = first.heapBytes;
        state.counters[memoryGroup + points + " points, resident [B]"] = first.residentKilobytes;
    }
}

void startInMemory(benchmark::State& state, std::uint32_t outlets, const std::string& points) {
    for (auto _ : state) {
        const TemporaryDirectory folder;
        const Start one = startOnce(outlets, "memory:start", folder);
        state.counters[startGroup + points + " points, store in memory [ns]"] = one.nanoseconds;
        state.counters[cpuGroup + points + " points, store in memory [ns]"] = one.cpuNanoseconds;
        state.counters[memoryGroup + points + " points, heap, with the store in it [B]"] = one.heapBytes;
    }
}

void plainInserts(benchmark::State& state) {
    velk::benchmarks::PlainTable table;
    std::int64_t id = 1;
    for (auto _ : state) {
        table.insert(++id, 230.0);
    }
}

void plainMap(benchmark::State& state) {
    constexpr int points = 10'000;
    for (auto _ : state) {
        const std::size_t before = mallinfo2().uordblks;
        std::map<std::string, velk::powerdistribution::Value> values;
        for (int point = 0; point < points; ++point) {
            values.emplace("Outlets." + std::to_string(point) + ".Measure.Voltage", 230.0F);
        }
        state.counters[memoryGroup + "baseline: a map from text to value [B]"] =
            static_cast<double>(mallinfo2().uordblks - before) / points;
    }
}

void rebuild(benchmark::State& state) {
    constexpr std::uint32_t outlets = 500;
    for (auto _ : state) {
        velk::benchmarks::SyntheticTree tree{outlets, velk::benchmarks::SyntheticTree::Store::file};
        const std::size_t before = mallinfo2().uordblks;
        tree.rebuild();
        state.counters[memoryGroup + "10,000 points, heap, more with each rebuild [B]"] =
            static_cast<double>(mallinfo2().uordblks - before) /
            (outlets * SyntheticDevice::POINTS_OF_AN_OUTLET);
    }
}

const bool isRegistered = [] {
    for (const std::string& group : {startGroup, cpuGroup}) {
        benchmark::RegisterBenchmark((group + "baseline: a plain insert").c_str(), plainInserts)
            ->UseRealTime();
    }
    benchmark::RegisterBenchmark("start: plain map", plainMap)->Iterations(1);
    benchmark::RegisterBenchmark("start: rebuild", rebuild)->Iterations(1)->Repetitions(3);
    for (const auto& [outlets, points] : std::map<std::uint32_t, std::string>{
             {5, "   100"}, {50, " 1,000"}, {500, "10,000"}, {2500, "50,000"}}) {
        const auto add = [&, outlets = outlets, points = points](const std::string& store, auto function) {
            const auto run = [=](benchmark::State& state) { function(state, outlets, points); };
            benchmark::RegisterBenchmark(("start: " + points + " points, " + store).c_str(), run)
                ->Iterations(1)
                ->Repetitions(3);
        };
        add("store in a file", startInFile);
        add("store in memory", startInMemory);
    }
    return true;
}();

} // namespace
