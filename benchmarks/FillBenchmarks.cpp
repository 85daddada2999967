// The library fills the 10,000 channels of a device's tree: all that building and initialising it costs more
// than without a store, until all have their alarm configurations and values, in an empty store and, by
// another process's eyes, in the one that this has left. Baseline: as many bare rows in a table of the same
// database library, in one transaction.

#include "benchmarks/PlainTable.h"
#include "benchmarks/Stopwatch.h"
#include "benchmarks/SyntheticTree.h"
#include "testing/TemporaryDirectory.h"

#include <benchmark/benchmark.h>

#include <string>

namespace {

using namespace velk::benchmarks;

constexpr std::uint32_t OUTLETS = 10'000 / SyntheticDevice::POINTS_OF_AN_OUTLET;

double bareRows() {
    PlainTable table{"/dev/shm"};
    const double begin = nowNs();
    table.insertAtOnce(10'000);
    return nowNs() - begin;
}

void fillByLibrary(benchmark::State& state) {
    const std::string group{"store: 10,000 channels made and filled by the library/"};
    const std::string cpu{"store: CPU time of that/"};
    for (auto _ : state) {
        const velk::testing::TemporaryDirectory folder{"/dev/shm"};
        const std::string url = "sqlite:" + (folder / "tess.db").string();
        const auto note = [&](const std::string& name, const std::string& target) {
            const SyntheticTree tree{OUTLETS, url};
            const SyntheticTree::Cost filling = tree.filling();
            state.counters[group + name + target + " [ns]"] = filling.wall;
            state.counters[cpu + name + " [ns]"] = filling.cpu;
        };
        state.counters[group + "baseline: bare rows, at once [ns]"] = bareRows();
        note("empty store", " {0.4 s}");
        note("full store", " {0.1 s}");
    }
}
BENCHMARK(fillByLibrary)->Name("store: fill")->Iterations(1);

} // namespace
