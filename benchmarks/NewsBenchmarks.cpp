// From a set in one process until the listener of another has the value, and what both cost: 1,000 sets a
// second. The same over publish/subscribe of a Redis server (a function call that does what a set does and
// publishes the value) and, bare, over a pipe.

#include "benchmarks/MeasuredServer.h"
#include "benchmarks/MeasuredStore.h"
#include "benchmarks/Quantile.h"
#include "benchmarks/RedisClient.h"
#include "benchmarks/Stopwatch.h"
#include "testing/ChildProcess.h"
#include "testing/RedisServer.h"

#include <benchmark/benchmark.h>

#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace velk::benchmarks;
using velk::testing::ChildProcess;
using velk::testing::RedisServer;

constexpr int SETS = 2'000;
constexpr int SETS_A_SECOND = 1'000;

/// CPU time in nanoseconds of the loop that does nothing but wait for the moment of the next set.
double cpuOfPacing() {
    const double before = cpuNs();
    pace(SETS, SETS_A_SECOND, [](int) {});
    return cpuNs() - before;
}

struct Course {
    std::vector<double> delays; ///< nanoseconds from the call to the listener
    double cpu{0};              ///< nanoseconds of both processes for one set, pacing taken off
};

Course run(ChildProcess& listener, const std::function<void(float)>& set, const std::function<void()>& end) {
    listener.awaitOutput("ready");
    const double pacing = cpuOfPacing();
    std::vector<double> begun(SETS);
    const double cpuBefore = cpuNs();
    pace(SETS, SETS_A_SECOND, [&](int i) {
        begun[static_cast<std::size_t>(i)] = nowNs();
        set(static_cast<float>(i));
    });
    Course course;
    course.cpu = (cpuNs() - cpuBefore - pacing) / SETS;
    std::this_thread::sleep_for(std::chrono::milliseconds{50}); // the last ones are still on their way
    end();
    listener.finish();

    std::istringstream output{listener.output()};
    std::string word;
    double cpu = 0;
    output >> word >> word >> cpu; // "ready", "cpu"
    course.cpu += cpu / SETS;
    for (double value = 0, time = 0; output >> value >> time;) {
        course.delays.push_back(time - begun.at(static_cast<std::size_t>(value)));
    }
    if (course.delays.size() != SETS) {
        throw std::runtime_error{"the listener has heard " + std::to_string(course.delays.size()) +
                                 " values"};
    }
    return course;
}

Course overStore() {
    MeasuredStore store{10};
    const auto channel = store.ids.front();
    ChildProcess listener{{VELK_BENCHMARK_PEER, "hear-store", store.url, std::to_string(channel)}};
    return run(
        listener, [&](float value) { store.channels().setChannelCValue(channel, qz::CValue{value}); },
        [&] { listener.closeInput(); });
}

struct RedisCourse : Course {
    double serverCpu{0}; ///< likewise, of the server
};

RedisCourse overRedis() {
    const MeasuredServer server;
    RedisClient redis{server.socket()};
    redis.prepare(10);
    ChildProcess listener{{VELK_BENCHMARK_PEER, "hear-redis", server.socket().string()}};
    const double before = server.cpuNs();
    RedisCourse course{run(
        listener, [&](float value) { redis.set(0, value, true); }, [&] { redis.set(0, -1, true); })};
    course.serverCpu = (server.cpuNs() - before) / SETS;
    return course;
}

Course overPipe() {
    ChildProcess listener{{VELK_BENCHMARK_PEER, "hear-pipe"}};
    return run(
        listener,
        [&](float value) {
            listener.write({reinterpret_cast<const char*>(&value), sizeof value});
        },
        [&] { listener.closeInput(); });
}

void news(benchmark::State& state) {
    const std::string toRedis{"store: from a set to another process, against Redis/"};
    const std::string toRedis99{"store: from a set to another process, 99th percentile/"};
    const std::string toPipe{"store: from a set to another process, against a pipe/"};
    const std::string cpu{"store: CPU time of a set and its news, 1,000 a second/"};
    for (auto _ : state) {
        Course pipe = overPipe();
        RedisCourse redis = overRedis();
        Course store = overStore();
        state.counters[toRedis + "baseline: Redis, publish/subscribe [ns]"] = quantile(redis.delays, 0.5);
        state.counters[toRedis + "store {0.6} [ns]"] = quantile(store.delays, 0.5);
        state.counters[toRedis99 + "baseline: Redis, publish/subscribe [ns]"] = quantile(redis.delays, 0.99);
        state.counters[toRedis99 + "store {0.65} [ns]"] = quantile(store.delays, 0.99);
        state.counters[toPipe + "baseline: a pipe [ns]"] = quantile(pipe.delays, 0.5);
        state.counters[toPipe + "store {6} [ns]"] = quantile(store.delays, 0.5);
        state.counters[cpu + "baseline: Redis, server, writer and listener [ns]"] =
            redis.cpu + redis.serverCpu;
        state.counters[cpu + "Redis, writer and listener [ns]"] = redis.cpu;
        state.counters[cpu + "store, writer and listener {0.63} [ns]"] = store.cpu;
    }
}
BENCHMARK(news)->Name("store: news")->Iterations(1);

std::vector<double> timesOf(std::vector<std::unique_ptr<ChildProcess>>& writers) {
    std::vector<double> times;
    for (const auto& writer : writers) {
        writer->finish();
        std::istringstream output{writer->output()};
        std::string ready;
        output >> ready;
        for (double time = 0; output >> time;) {
            times.push_back(time);
        }
    }
    return times;
}

/// Three programs set a value each, 500 times a second.
std::vector<double> threeWriters(const std::string& kind, const std::string& place,
                                 const std::vector<std::uint64_t>& channels) {
    std::vector<std::unique_ptr<ChildProcess>> writers;
    for (int i = 0; i < 3; ++i) {
        writers.push_back(std::make_unique<ChildProcess>(std::vector<std::string>{
            VELK_BENCHMARK_PEER, kind, place, std::to_string(channels.at(static_cast<std::size_t>(i))),
            "1000", "500"}));
    }
    return timesOf(writers);
}

void writers(benchmark::State& state) {
    const std::string group{"store: three writers, 500 sets a second each, 99.9th percentile/"};
    for (auto _ : state) {
        const RedisServer server;
        RedisClient{server.socket()}.prepare(3);
        std::vector<double> redis = threeWriters("write-redis", server.socket().string(), {0, 1, 2});
        const MeasuredStore store{3};
        std::vector<double> ours = threeWriters("write-store", store.url, store.ids);
        state.counters[group + "baseline: Redis, a function call [ns]"] = quantile(redis, 0.999);
        state.counters[group + "store {500 us} [ns]"] = quantile(ours, 0.999);
    }
}
BENCHMARK(writers)->Name("store: writers")->Iterations(1);

} // namespace
