// What polling one data point costs, unchanged and changed. Baseline: reading the wrapper.

#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/TessAccessor.h"
#include "powerdistribution/connectors/TessDatabaseManager.h"
#include "powerdistribution/datamodel/updateHandler.h"
#include "powerdistribution/handlers/ROValueHandler.h"
#include "powerdistribution/protocols/RWValueWrapper.h"
#include "powerdistribution/sched/BasicScheduler.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <future>
#include <memory>
#include <thread>
#include <vector>

namespace {

using namespace velk::powerdistribution;

/// A device point in memory; counts its reads.
class Point : public protocols::RWValueWrapper {
public:
    explicit Point(bool valueChanges) : changes{valueChanges} {}
    Value read() const override {
        reads.fetch_add(1, std::memory_order_relaxed);
        if (changes) {
            value += 1.0F;
        }
        return Value{value};
    }
    bool write(const Value&) override { return false; }

    static inline std::atomic<std::uint64_t> reads{0};

private:
    const bool changes;
    mutable float value{230.0F};
};

/// Rests not at all, so that a cycle costs what its work costs.
class NoRest : public velk::common::sched::ICooldown {
public:
    void begin() override {}
    void rest() override {}
    void interrupt() override {}
};

std::unique_ptr<connectors::TessDatabaseManager> openStore() {
    return std::make_unique<connectors::TessDatabaseManager>(
        tessapi::TessAccessor::open("benchmark", "memory:refresh"));
}

const EPath& path() {
    static const EPath one{ECircuit::Inputs, 1U, EMeasurement::Voltage};
    return one;
}

std::shared_ptr<handlers::ROValueHandler> makeHandler(const connectors::IConnectorFactory& factory,
                                                      connectors::ConnectorPtr& device, bool changes) {
    const velk::common::Uuid uuid{velk::common::Uuid::VELK_NAMESPACE, "benchmark"};
    device = factory.buildConnector(factory.getRootParentUuid());
    device->store({path().parent(), Value{uuid}, {}});
    auto handler = std::make_shared<handlers::ROValueHandler>(path(), std::make_unique<Point>(changes),
                                                              factory.buildMeasureConnector(uuid));
    handler->initialize();
    return handler;
}

void readWrapper(benchmark::State& state) {
    const std::unique_ptr<protocols::IValueWrapper> wrapper = std::make_unique<Point>(false);
    for (auto _ : state) {
        benchmark::DoNotOptimize(wrapper->read());
    }
}
BENCHMARK(readWrapper)->Name("refresh a data point/baseline");

void refreshUnchanged(benchmark::State& state) {
    const auto store = openStore();
    connectors::ConnectorPtr device;
    const auto handler = makeHandler(store->connectorFactory(), device, false);
    for (auto _ : state) {
        handler->refresh();
    }
}
BENCHMARK(refreshUnchanged)->Name("refresh a data point/unchanged, by hand");

void refreshChanged(benchmark::State& state) {
    const auto store = openStore();
    connectors::ConnectorPtr device;
    const auto handler = makeHandler(store->connectorFactory(), device, true);
    for (auto _ : state) {
        handler->refresh();
    }
}
BENCHMARK(refreshChanged)->Name("refresh a data point/changed, into a store in memory");

/// All of a scheduler's work for a point: pop, worker, read, compare, push.
void refreshScheduled(benchmark::State& state) {
    using Scheduler = velk::common::sched::BasicScheduler<std::function<void()>>;
    constexpr std::size_t points = 1000;
    const auto store = openStore();
    connectors::ConnectorPtr device;
    std::vector<std::shared_ptr<handlers::IHandler>> all;
    Scheduler scheduler{5, std::make_unique<NoRest>()};
    scheduler.reserve(points);
    for (std::size_t i = 0; i < points; ++i) {
        const auto handler = makeHandler(store->connectorFactory(), device, false);
        scheduler.push({0, 0, 1, [handler] { datamodel::updateHandler(handler); }, nullptr});
    }
    scheduler.pool = std::make_shared<velk::common::ThreadPool>(5);
    scheduler.running = true;
    auto background = std::async(std::launch::async, [&] { scheduler.background(); });
    // An iteration is one point; all of them are polled together.
    while (state.KeepRunningBatch(points)) {
        const std::uint64_t wanted = Point::reads + points;
        while (Point::reads < wanted) {
            std::this_thread::yield();
        }
    }
    scheduler.running = false;
    background.get();
    scheduler.pool.reset();
}
BENCHMARK(refreshScheduled)
    ->Name("refresh a data point/unchanged, by the scheduler with 1000 points")
    ->UseRealTime();

} // namespace
