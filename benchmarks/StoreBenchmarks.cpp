// What the store costs. Baseline: the same number of bytes put into a plain table of the same database
// library, one transaction each, with the same durability.

#include "benchmarks/PlainTable.h"
#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/TessAccessor.h"
#include "testing/TemporaryDirectory.h"

#include <benchmark/benchmark.h>

#include <condition_variable>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

using tessapi::InBandAccessor;
using tessapi::TessAccessor;
using velk::benchmarks::PlainTable;

const std::string voltage{"PowerDistribution.Measure.Voltage"};

/// A store on disk with one device of one channel.
struct Store {
    Store() {
        device = accessor->emplaceDevice(velk::common::Uuid{velk::common::Uuid::VELK_NAMESPACE, "one"}, 1, 0);
        channel = channels().emplaceChannel(device, voltage, false);
    }
    InBandAccessor& channels() { return accessor->inbandAccessor(); }

    velk::testing::TemporaryDirectory directory;
    std::string url{"sqlite:" + (directory / "tess.db").string()};
    std::unique_ptr<TessAccessor> accessor{TessAccessor::open("benchmark", url)};
    std::uint64_t device{};
    std::uint64_t channel{};
};

void plainWrite(benchmark::State& state) {
    PlainTable table;
    double content = 0;
    for (auto _ : state) {
        table.write(content += 1);
    }
}
BENCHMARK(plainWrite)->Name("write a value/baseline");

void writeValue(benchmark::State& state, int subscribers) {
    Store store;
    for (int i = 0; i < subscribers; ++i) {
        store.channels().subscribeMultipleChannels(
            {store.channel}, [](std::uint64_t, const qz::CValue&) {}, qz::sub::everyWrite, nullptr);
    }
    float value = 0;
    for (auto _ : state) {
        store.channels().setChannelCValue(store.channel, qz::CValue{value += 1});
    }
}
BENCHMARK_CAPTURE(writeValue, none, 0)->Name("write a value/no subscriber")->UseRealTime();
BENCHMARK_CAPTURE(writeValue, one, 1)->Name("write a value/one subscriber")->UseRealTime();
BENCHMARK_CAPTURE(writeValue, hundred, 100)->Name("write a value/100 subscribers")->UseRealTime();

void plainRead(benchmark::State& state) {
    PlainTable table;
    for (auto _ : state) {
        benchmark::DoNotOptimize(table.read());
    }
}
BENCHMARK(plainRead)->Name("read a value/baseline");

void readValue(benchmark::State& state) {
    Store store;
    store.channels().setChannelCValue(store.channel, qz::CValue{230.0F});
    for (auto _ : state) {
        benchmark::DoNotOptimize(store.channels().getChannelCValue(store.channel));
    }
}
BENCHMARK(readValue)->Name("read a value/by identifier");

/// Counts what has arrived and lets a thread wait for it.
class Arrivals {
public:
    void arrived() {
        const std::lock_guard lock{mutex};
        ++count;
        changed.notify_all();
    }
    void await(std::uint64_t wanted) {
        std::unique_lock lock{mutex};
        changed.wait(lock, [&] { return count >= wanted; });
    }

private:
    std::mutex mutex;
    std::condition_variable changed;
    std::uint64_t count{0};
};

void wakeThread(benchmark::State& state) {
    Arrivals there;
    Arrivals back;
    std::uint64_t sent = 0;
    const std::uint64_t end = state.max_iterations;
    std::thread other{[&] {
        for (std::uint64_t i = 1; i <= end; ++i) {
            there.await(i);
            back.arrived();
        }
    }};
    for (auto _ : state) {
        there.arrived();
        back.await(++sent);
    }
    other.join();
}
BENCHMARK(wakeThread)->Name("from write to callback/baseline")->UseRealTime();

void callbackHere(benchmark::State& state) {
    Store store;
    Arrivals arrivals;
    store.channels().subscribeMultipleChannels(
        {store.channel}, [&](std::uint64_t, const qz::CValue&) { arrivals.arrived(); }, qz::sub::everyWrite,
        nullptr);
    std::uint64_t sent = 0;
    for (auto _ : state) {
        store.channels().setChannelCValue(store.channel, qz::CValue{static_cast<float>(sent)});
        arrivals.await(++sent);
    }
}
BENCHMARK(callbackHere)->Name("from write to callback/same process")->UseRealTime();

void callbackThereAndBack(benchmark::State& state) {
    Store store;
    const std::uint64_t ping = store.channels().emplaceChannel(store.device, "Ping", false);
    const std::uint64_t pong = store.channels().emplaceChannel(store.device, "Pong", false);
    Arrivals arrivals;
    store.channels().subscribeMultipleChannels(
        {pong}, [&](std::uint64_t, const qz::CValue&) { arrivals.arrived(); }, qz::sub::everyWrite, nullptr);
    const std::string ready = (store.directory / "ready").string();
    const std::string command = std::string{VELK_BENCHMARK_COMPANION} + " echo " + store.url + " " +
                                std::to_string(store.device) + " >" + ready;
    FILE* listener = popen(command.c_str(), "w");
    while (!std::filesystem::exists(ready) || std::filesystem::file_size(ready) == 0) {
        std::this_thread::yield();
    }
    std::uint64_t sent = 0;
    for (auto _ : state) {
        store.channels().setChannelCValue(ping, qz::CValue{std::to_string(sent)});
        arrivals.await(++sent);
    }
    pclose(listener);
}
BENCHMARK(callbackThereAndBack)->Name("from write to callback/another process and back")->UseRealTime();

void plainFill(benchmark::State& state) {
    for (auto _ : state) {
        PlainTable table;
        for (int i = 0; i < 30000; ++i) {
            table.write(i);
        }
    }
}
BENCHMARK(plainFill)->Name("fill a tree of 10000 channels/baseline")->Unit(benchmark::kMillisecond);

void fill(benchmark::State& state) {
    for (auto _ : state) {
        Store store;
        for (int device = 0; device < 250; ++device) {
            const std::uint64_t id = store.accessor->emplaceDevice(
                velk::common::Uuid{velk::common::Uuid::VELK_NAMESPACE, std::to_string(device)}, store.device,
                0);
            for (int channel = 0; channel < 40; ++channel) {
                const std::uint64_t one =
                    store.channels().emplaceChannel(id, "Channel." + std::to_string(channel), false);
                store.channels().setChannelCValue(one, qz::CValue{std::string{"value"}});
            }
        }
    }
}
BENCHMARK(fill)->Name("fill a tree of 10000 channels/store")->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
