// How long a change of the device takes to the store and to a listener in another process, in a tree of 1,000
// points over a store in a file, with a cool-down that does not rest. Baseline: one cycle.

#include "benchmarks/CycleClock.h"
#include "benchmarks/Quantile.h"
#include "benchmarks/SyntheticTree.h"
#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/TessAccessor.h"
#include "powerdistribution/datamodel/DataModelScheduler.h"
#include "powerdistribution/handlers/ROValueHandler.h"
#include "powerdistribution/protocols/RWValueWrapper.h"
#include "testing/ChildProcess.h"

#include <benchmark/benchmark.h>

#include <array>
#include <atomic>
#include <chrono>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace velk::powerdistribution;
using velk::benchmarks::CycleClock;
using velk::benchmarks::quantile;
using velk::benchmarks::SyntheticTree;

constexpr std::uint32_t CHANGES = 300;

std::int64_t nowNs() {
    return velk::common::Clock::system().now().count();
}

/// One point of the device whose value is the number of its last change, and the times of what became of each
/// change.
struct Watched {
    std::atomic<std::uint32_t> value{0};
    std::array<std::int64_t, CHANGES + 1> changed{};
    std::array<std::atomic<std::int64_t>, CHANGES + 1> stored{};
};

template <typename T>
class WatchedPoint final : public protocols::RWValueWrapper {
public:
    explicit WatchedPoint(Watched& point) : watched{point} {}
    Value read() const override { return Value{static_cast<T>(watched.value.load())}; }
    bool write(const Value&) override { return false; }

private:
    Watched& watched;
};

/// Notes when a value has reached the store.
template <typename T>
class TimedConnector final : public connectors::IConnector {
public:
    TimedConnector(connectors::ConnectorPtr real, Watched& point) : inner{std::move(real)}, watched{point} {}

    void store(const handlers::HandlerData& data) override {
        inner->store(data);
        watched.stored.at(static_cast<std::size_t>(data.value.get<T>())) = nowNs();
    }
    void init() override { inner->init(); }
    void terminate() override { inner->terminate(); }
    void subscribe(const handlers::HandlerData& data, connectors::IConnectorListener* listener,
                   const connectors::SubscriptionOptions& options) override {
        inner->subscribe(data, listener, options);
    }
    void unsubscribe(const handlers::HandlerData& data, connectors::IConnectorListener* listener) override {
        inner->unsubscribe(data, listener);
    }
    void load(handlers::HandlerData& data) const override { inner->load(data); }
    connectors::TessResources getResourcesInUse() const override { return inner->getResourcesInUse(); }

private:
    const connectors::ConnectorPtr inner;
    Watched& watched;
};

template <typename T>
void enter(const Factories& factories, const EPath& path, connectors::ConnectorPtr connector,
           Watched& watched) {
    factories.dataModel->emplace(std::make_shared<handlers::ROValueHandler>(
        path, std::make_unique<WatchedPoint<T>>(watched),
        std::make_shared<TimedConnector<T>>(std::move(connector), watched)));
}

/// Changes the point again and again, at no fixed time of a cycle.
void play(Watched& watched) {
    std::mt19937 random{20261121}; // NOLINT(cert-msc51-cpp): the same every time
    std::uniform_int_distribution<int> pause{500, 5000};
    for (std::uint32_t change = 1; change <= CHANGES; ++change) {
        std::this_thread::sleep_for(std::chrono::microseconds{pause(random)});
        watched.changed.at(change) = nowNs();
        watched.value = change;
        while (watched.stored.at(change) == 0) {
            std::this_thread::sleep_for(std::chrono::microseconds{200});
        }
    }
}

using Heard = std::map<std::uint64_t, std::map<std::uint32_t, std::int64_t>>;

/// Channel, value, time: what the other process prints.
Heard parse(const std::string& output) {
    Heard heard;
    std::istringstream lines{output};
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words{line};
        std::uint64_t channel = 0;
        std::uint32_t value = 0;
        std::int64_t time = 0;
        if (words >> channel >> value >> time) {
            heard[channel][value] = time;
        }
    }
    return heard;
}

void report(benchmark::State& state, const std::string& name, const Watched& watched,
            const std::map<std::uint32_t, std::int64_t>& heard) {
    std::vector<double> toStore;
    std::vector<double> toListener;
    for (std::uint32_t change = 1; change <= CHANGES; ++change) {
        toStore.push_back(static_cast<double>(watched.stored.at(change) - watched.changed.at(change)));
        toListener.push_back(static_cast<double>(heard.at(change) - watched.changed.at(change)));
    }
    state.counters[name + " to the store, median [ns]"] = quantile(toStore, 0.5);
    state.counters[name + " to the store, 99th percentile [ns]"] = quantile(toStore, 0.99);
    state.counters[name + " to another process, median [ns]"] = quantile(toListener, 0.5);
    state.counters[name + " to another process, 99th percentile [ns]"] = quantile(toListener, 0.99);
}

void delay(benchmark::State& state) {
    const std::string group{"delay, 1,000 points/"};
    for (auto _ : state) {
        Watched status;
        Watched measure;
        const SyntheticTree tree{
            50, SyntheticTree::Store::file, [&](const Factories& factories, const velk::common::Uuid& root) {
                const connectors::IConnectorFactory& connect = factories.connectorFactory;
                enter<std::uint32_t>(factories, {ECircuit::Environment, EStatus::State},
                                     connect.buildStatusConnector(root), status);
                enter<float>(factories, {ECircuit::Environment, EMeasurement::Voltage},
                             connect.buildMeasureConnector(root), measure);
            }};
        const auto store = tessapi::TessAccessor::open("benchmark", tree.url, false);
        const auto channel = [&store](const char* name) {
            return store->inbandAccessor().getCatchedChannelId(tessapi::TessAccessor::ROOT_DEVICE, name);
        };
        const std::uint64_t statusChannel = channel("PowerDistribution.Status.State");
        const std::uint64_t measureChannel = channel("PowerDistribution.Measure.Voltage");
        velk::testing::ChildProcess listener{{VELK_BENCHMARK_COMPANION, "watch", tree.url,
                                              std::to_string(statusChannel), std::to_string(measureChannel)}};
        listener.awaitOutput("ready");

        CycleClock clock;
        datamodel::DataModelScheduler scheduler{5, 100, 0, clock};
        scheduler.initialize(tree.handlers());
        scheduler.start();
        play(status);
        play(measure);
        const std::size_t cycles = clock.cycles();
        scheduler.shutDown();
        std::this_thread::sleep_for(std::chrono::milliseconds{300}); // the last ones are still on their way
        listener.finish();
        Heard heard = parse(listener.output());

        const auto took = static_cast<double>((clock.startOf(cycles) - clock.startOf(0)).count());
        state.counters[group + "baseline: one cycle [ns]"] = took / static_cast<double>(cycles);
        report(state, group + "status", status, heard[statusChannel]);
        report(state, group + "measure", measure, heard[measureChannel]);
    }
}
BENCHMARK(delay)->Name("delay")->Iterations(1)->Repetitions(3);

} // namespace
