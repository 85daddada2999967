// What one value costs in the store: set alone, set in a group, read when nothing has changed. The same
// channels are set in a Redis server by one call of a function that does the same, in turns with the store.

#include "benchmarks/MeasuredServer.h"
#include "benchmarks/MeasuredStore.h"
#include "benchmarks/RedisClient.h"
#include "benchmarks/Stopwatch.h"
#include "testing/ChildProcess.h"
#include "testing/RedisServer.h"

#include <benchmark/benchmark.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using namespace velk::benchmarks;
using velk::testing::ChildProcess;
using velk::testing::RedisServer;

constexpr int CHANNELS = 100;
constexpr int SETS = 10'000;
constexpr int REDIS_SETS = 2'000;

using Group = std::vector<std::pair<std::uint64_t, qz::CValue>>;

Group groupOf(const std::vector<std::uint64_t>& ids, float value) {
    Group group;
    for (const auto id : ids) {
        const qz::CValue one{value += 1};
        group.emplace_back(id, one);
    }
    return group;
}

/// Per value.
double setInGroups(tessapi::InBandAccessor& channels, const std::vector<std::uint64_t>& ids, int groups) {
    return perRun(groups, [&](int i) { channels.setChannelCValues(groupOf(ids, static_cast<float>(i))); }) /
           static_cast<double>(ids.size());
}

void setValues(benchmark::State& state) {
    const std::string alone{"store: a value set, with log and triggers/"};
    const std::string grouped{"store: values set in groups of 100, per value/"};
    MeasuredStore store{CHANNELS};
    const MeasuredServer server;
    RedisClient redis{server.socket()};
    redis.prepare(CHANNELS);
    const std::string cpu{"store: CPU time of a value set/"};
    const auto setStore = [&](int i) {
        store.channels().setChannelCValue(store.ids[static_cast<std::size_t>(i % CHANNELS)],
                                          qz::CValue{static_cast<float>(i)});
    };
    const auto setRedis = [&](int i) { redis.set(i % CHANNELS, static_cast<float>(i)); };
    for (auto _ : state) {
        perRun(CHANNELS, setStore);
        perRun(CHANNELS, setRedis);
        double ofRedis = 0;
        double ofStore = 0;
        double inGroups = 0;
        double cpuOfRedis = 0;
        double cpuOfStore = 0;
        double cpuInGroups = 0;
        constexpr int TURNS = 5;
        for (int turn = 0; turn < TURNS; ++turn) {
            const double atFirst = cpuNs() + server.cpuNs();
            ofRedis += perRun(REDIS_SETS, setRedis) / TURNS;
            const double withStore = cpuNs() + server.cpuNs();
            ofStore += perRun(SETS, setStore) / TURNS;
            const double withGroups = cpuNs() + server.cpuNs();
            inGroups += setInGroups(store.channels(), store.ids, SETS / CHANNELS) / TURNS;
            cpuOfRedis += (withStore - atFirst) / REDIS_SETS / TURNS;
            cpuOfStore += (withGroups - withStore) / SETS / TURNS;
            cpuInGroups += (cpuNs() + server.cpuNs() - withGroups) / SETS / TURNS;
        }
        state.counters[alone + "baseline: Redis, a function call [ns]"] = ofRedis;
        state.counters[alone + "store {0.16} [ns]"] = ofStore;
        state.counters[cpu + "baseline: Redis, client and server [ns]"] = cpuOfRedis;
        state.counters[cpu + "store [ns]"] = cpuOfStore;
        state.counters[cpu + "store, in groups of 100 [ns]"] = cpuInGroups;
        state.counters[grouped + "baseline: each alone [ns]"] = ofStore;
        state.counters[grouped + "store {2.5 us} [ns]"] = inGroups;
    }
}

void setValuesOverNetwork(benchmark::State& state) {
    const std::string group{"store: networked, values set in groups of 100, per value/"};
    const RedisServer server;
    MeasuredStore store{CHANNELS, "redis+unix://" + server.socket().string() + "/benchmark"};
    const RedisServer other;
    RedisClient redis{other.socket()};
    redis.prepare(CHANNELS);
    for (auto _ : state) {
        const double alone = perRun(2'000, [&](int i) { redis.set(i % CHANNELS, static_cast<float>(i)); });
        setInGroups(store.channels(), store.ids, 5);
        state.counters[group + "baseline: Redis, a function call for each [ns]"] = alone;
        state.counters[group + "store {6 us} [ns]"] = setInGroups(store.channels(), store.ids, 100);
    }
}

/// The value is that of another program, which has it open all the time.
void readUnchanged(benchmark::State& state) {
    const std::string group{"store: a value of another program read, unchanged since the last read/"};
    MeasuredStore store{CHANNELS};
    const auto channel = store.ids.front();
    ChildProcess writer{{VELK_BENCHMARK_PEER, "write-store", store.url, std::to_string(channel), "2", "10"}};
    writer.finish();
    const RedisServer server;
    RedisClient redis{server.socket()};
    redis.prepare(1);
    for (auto _ : state) {
        const double ofRedis = perRun(2'000, [&](int) { benchmark::DoNotOptimize(redis.get(0)); });
        const double ofStore = perRun(
            200'000, [&](int) { benchmark::DoNotOptimize(store.channels().getChannelCValue(channel)); });
        state.counters[group + "baseline: Redis, HGET [ns]"] = ofRedis;
        state.counters[group + "store {0.1 us} [ns]"] = ofStore;
    }
    if (store.channels().getChannelCValue(channel).as_float() != 1) {
        state.SkipWithError("the other program's value is not there");
    }
}

BENCHMARK(setValues)->Name("store: set")->Iterations(1);
BENCHMARK(setValuesOverNetwork)->Name("store: networked")->Iterations(1);
BENCHMARK(readUnchanged)->Name("store: read")->Iterations(1);

} // namespace
