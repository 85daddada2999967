// The CPU share that the process takes while nothing changes, held against the limit; where the longest rest
// binds, against the share that this rest allows. With the machine idle and with one core kept busy by
// another process.

#include "benchmarks/CycleClock.h"
#include "benchmarks/SyntheticTree.h"
#include "powerdistribution/datamodel/DataModelScheduler.h"
#include "testing/ChildProcess.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <string>

namespace {

using namespace velk::powerdistribution;
using velk::benchmarks::CycleClock;
using velk::benchmarks::SyntheticTree;
using Duration = CycleClock::Duration;

constexpr std::uint32_t THREADS = 5;
constexpr std::chrono::milliseconds SHORTEST_REST{20};
constexpr std::chrono::milliseconds LONGEST_REST{1000};

struct Case {
    std::uint32_t limit; ///< percent
    std::uint32_t outlets;
    std::string points;
    std::chrono::seconds length;
    bool longestRestBinds;
};

struct Shares {
    double taken{0};   ///< percent of one core
    double allowed{0}; ///< by the limit and the bounds of a rest
};

Shares sharesOf(const std::vector<CycleClock::Mark>& marks, std::uint32_t limit) {
    Duration cpu{};
    Duration taken{};
    Duration allowed{};
    // The first cycle warms up; the rest of the last one has been broken off.
    for (std::size_t cycle = 2; cycle + 1 < marks.size(); ++cycle) {
        const Duration used = marks[cycle].cpu - marks[cycle - 1].cpu;
        const Duration busy = marks[cycle].wall - marks[cycle - 1].wall - marks[cycle - 1].rest;
        cpu += used;
        taken += busy + marks[cycle].rest;
        allowed += busy + std::clamp<Duration>(used * 100 / limit - busy, SHORTEST_REST, LONGEST_REST);
    }
    const auto percent = [cpu](Duration of) {
        return 100.0 * static_cast<double>(cpu.count()) / static_cast<double>(std::max(of.count(), 1L));
    };
    return {percent(taken), percent(allowed)};
}

void share(benchmark::State& state, const Case& one, bool isLoaded) {
    SyntheticTree& tree = SyntheticTree::ofSize(one.outlets);
    const std::string machine = isLoaded ? ", one core busy" : ", machine idle";
    for (auto _ : state) {
        std::optional<velk::testing::ChildProcess> burner;
        if (isLoaded) {
            burner.emplace(std::vector<std::string>{VELK_BENCHMARK_COMPANION, "burn"});
            burner->awaitOutput("ready");
        }
        CycleClock clock;
        datamodel::DataModelScheduler scheduler{THREADS, one.limit,
                                                static_cast<std::uint32_t>(LONGEST_REST.count()), clock};
        scheduler.initialize(tree.handlers());
        scheduler.start();
        clock.sleepFor(one.length);
        scheduler.shutDown();
        const Shares shares = sharesOf(clock.all(), one.limit);
        const std::string group = "CPU share, limit " + std::to_string(one.limit) + " %";
        if (one.longestRestBinds) {
            const std::string bound = group + ", longest rest binds" + machine + "/";
            state.counters[bound + "baseline: what that rest allows [%]"] = shares.allowed;
            state.counters[bound + one.points + " [%]"] = shares.taken;
        } else {
            state.counters[group + "/baseline: the limit [%]"] = one.limit;
            state.counters[group + "/" + one.points + machine + " [%]"] = shares.taken;
        }
    }
}

const bool isRegistered = [] {
    using std::chrono::seconds;
    const Case cases[] = {
        {1, 50, "1,000 points", seconds{4}, false},    {5, 500, "10,000 points", seconds{4}, false},
        {10, 500, "10,000 points", seconds{4}, false}, {50, 2500, "50,000 points", seconds{4}, false},
        {1, 2500, "50,000 points", seconds{6}, true},
    };
    for (const Case& one : cases) {
        for (const bool isLoaded : {false, true}) {
            const std::string name = "share: " + std::to_string(one.limit) + " %, " + one.points;
            benchmark::RegisterBenchmark((name + (isLoaded ? ", loaded" : "")).c_str(),
                                         [=](benchmark::State& state) { share(state, one, isLoaded); })
                ->Iterations(1)
                ->Repetitions(3);
        }
    }
    return true;
}();

} // namespace
