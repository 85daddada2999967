// The scheduler over trees of 100 to 50,000 data points with a cool-down that does not rest: what a cycle
// costs while nothing changes, while 1 % of the values do and while all do, and how late a refresh comes.
// Baselines: reading one point of the device; one cycle.

#include "benchmarks/CycleClock.h"
#include "benchmarks/Quantile.h"
#include "benchmarks/SyntheticTree.h"
#include "powerdistribution/datamodel/DataModelScheduler.h"
#include "powerdistribution/handlers/BaseHandler.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace velk::powerdistribution;
using velk::benchmarks::CycleClock;
using velk::benchmarks::quantile;
using velk::benchmarks::SyntheticTree;
using Duration = CycleClock::Duration;

const std::string refreshGroup{"cycle, per refreshed point/"};
const std::string cpuGroup{"cycle, CPU time per refreshed point/"};
const std::string cycleGroup{"cycle, whole/"};

constexpr std::uint32_t THREADS = 5;
constexpr std::uint32_t NO_LIMIT = 100;
constexpr std::uint32_t NO_REST = 0;

void awaitCycles(const CycleClock& clock, std::size_t cycles) {
    while (clock.cycles() < cycles) {
        std::this_thread::sleep_for(std::chrono::milliseconds{1});
    }
}

/// Whole turns of the measures, so that each run has the same mix; the first cycles only warm up. Long enough
/// for a look at each size, and over before a tree of 50,000 points takes minutes.
std::size_t enoughCycles(const CycleClock& clock) {
    constexpr std::size_t turn = 305; // of all ranks
    constexpr Duration longest = std::chrono::milliseconds{1500};
    awaitCycles(clock, 5);
    const Duration cycle = (clock.startOf(5) - clock.startOf(0)) / 5;
    const auto affordable = static_cast<std::size_t>(longest / std::max<Duration>(cycle, Duration{1}));
    return affordable >= turn ? affordable / turn * turn : std::max<std::size_t>(affordable / 5, 1) * 5;
}

void runCycles(benchmark::State& state, std::uint32_t outlets, std::uint32_t changeEvery,
               const std::string& name) {
    SyntheticTree& tree = SyntheticTree::ofSize(outlets);
    tree.device.changeEvery = changeEvery;
    for (auto _ : state) {
        CycleClock clock;
        datamodel::DataModelScheduler scheduler{THREADS, NO_LIMIT, NO_REST, clock};
        scheduler.initialize(tree.handlers());
        scheduler.start();
        const std::size_t last = 5 + enoughCycles(clock);
        awaitCycles(clock, last);
        scheduler.shutDown();
        std::size_t refreshes = 0;
        for (std::size_t cycle = 5; cycle < last; ++cycle) {
            refreshes += tree.refreshesIn(cycle);
        }
        const auto marks = clock.all();
        const auto took = static_cast<double>((marks[last].wall - marks[5].wall).count());
        const auto used = static_cast<double>((marks[last].cpu - marks[5].cpu).count());
        state.counters[cpuGroup + name + " [ns]"] = used / static_cast<double>(refreshes);
        state.counters[refreshGroup + name + " [ns]"] = took / static_cast<double>(refreshes);
        state.counters[cycleGroup + (outlets == 5 && changeEvery == 0 ? "baseline, " : "") + name + " [ns]"] =
            took / static_cast<double>(last - 5);
    }
    tree.device.changeEvery = 0;
}

void readPoint(benchmark::State& state) {
    SyntheticTree& tree = SyntheticTree::ofSize(5);
    const auto point = tree.device.wrapperFactory()->buildWrapper(
        {ECircuit::Outlets, std::uint32_t{1}, EMeasurement::Voltage});
    for (auto _ : state) {
        benchmark::DoNotOptimize(point->read());
    }
}

/// Notes how long after its turn it is refreshed. Its turn is the beginning of the cycle that its rank tells
/// after its last one.
class Probe final : public handlers::BaseHandler {
public:
    Probe(const EPath& path, std::size_t waitingCycles) : BaseHandler{path}, rank{waitingCycles} {}

    void refresh() override {
        if (clock == nullptr) {
            return;
        }
        const Duration now = clock->now();
        const std::size_t present = clock->cycles();
        if (due != 0) {
            const Duration turn = clock->startOf(due);
            late.push_back(static_cast<double>((now - turn).count()));
        }
        due = present + rank + 1;
    }

    const CycleClock* clock{nullptr};
    const std::size_t rank;
    std::vector<double> late; ///< in nanoseconds; negative when it came early

private:
    std::size_t due{0};
};

class Probes {
public:
    void enter(const Factories& factories) {
        add<EStatus>(factories, EStatus::Mode, 0);
        add<EMeasurement>(factories, EMeasurement::Voltage, 4);
        add<EPrivate>(factories, EPrivate::InternalLogs, 20);
        add<ESetting>(factories, ESetting::NominalVoltage, 60);
    }

    void report(benchmark::State& state, const std::string& group) const {
        std::map<std::size_t, std::vector<double>> byRank;
        for (const auto& probe : probes) {
            auto& all = byRank[probe->rank];
            all.insert(all.end(), probe->late.begin(), probe->late.end());
        }
        for (auto& [rank, late] : byRank) {
            const std::string name = group + (rank < 10 ? "rank  " : "rank ") + std::to_string(rank);
            state.counters[name + ", median [ns]"] = quantile(late, 0.5);
            state.counters[name + ", 99th percentile [ns]"] = quantile(late, 0.99);
        }
    }

    void listenTo(const CycleClock& clock) {
        for (const auto& probe : probes) {
            probe->clock = &clock;
        }
    }

private:
    template <typename E>
    void add(const Factories& factories, E member, std::size_t rank) {
        // All over the tree, since handlers of a rank come up in the order of their paths or of the heap.
        for (std::uint32_t outlet = 1; outlet <= 500; outlet += 10) {
            probes.push_back(std::make_shared<Probe>(EPath{ECircuit::Outlets, outlet, member}, rank));
            factories.dataModel->emplace(probes.back());
        }
    }

    std::vector<std::shared_ptr<Probe>> probes;
};

void lateness(benchmark::State& state) {
    const std::string group{"lateness, 10,000 points/"};
    for (auto _ : state) {
        Probes probes;
        const SyntheticTree tree{500, SyntheticTree::Store::memory,
                                 [&](const Factories& factories, const auto&) { probes.enter(factories); }};
        CycleClock clock;
        probes.listenTo(clock);
        datamodel::DataModelScheduler scheduler{THREADS, NO_LIMIT, NO_REST, clock};
        scheduler.initialize(tree.handlers());
        scheduler.start();
        constexpr std::size_t cycles = 305;
        awaitCycles(clock, cycles);
        scheduler.shutDown();
        state.counters[group + "baseline: one cycle [ns]"] =
            static_cast<double>((clock.startOf(cycles) - clock.startOf(0)).count()) / cycles;
        probes.report(state, group);
    }
}

const bool isRegistered = [] {
    for (const std::string& group : {refreshGroup, cpuGroup}) {
        benchmark::RegisterBenchmark((group + "baseline: reading the device").c_str(), readPoint);
    }
    for (const auto& [outlets, points] : std::map<std::uint32_t, std::string>{
             {5, "   100"}, {50, " 1,000"}, {500, "10,000"}, {2500, "50,000"}}) {
        const auto add = [&, outlets = outlets, points = points](std::uint32_t every, const char* changes) {
            const auto run = [=](benchmark::State& state) {
                runCycles(state, outlets, every, points + " points, " + changes);
            };
            benchmark::RegisterBenchmark(("cycle: " + points + " points, " + changes).c_str(), run)
                ->Iterations(1)
                ->Repetitions(3);
        };
        add(0, "unchanged");
        add(100, "1 % changed");
        add(1, "all changed");
    }
    benchmark::RegisterBenchmark("lateness", lateness)->Iterations(1)->Repetitions(3);
    return true;
}();

} // namespace
