#pragma once

#include "platform/qz/CSingleAlarmConfig.h"
#include "platform/tessapi/engine/Engine.h"
#include "testing/FakeClock.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace velk::testing {

/// What a device of 300 channels does to a store: ten measured values a second change, an alarm comes or goes
/// every minute, and somebody sets something every ten minutes. Time is that of a clock that stands by hand;
/// the store's keeper goes by it too, and has all the time that it needs.
class StoreLoad {
public:
    StoreLoad(tessapi::Engine& engine, FakeClock& time) : store{engine}, clock{time} {
        for (int i = 0; i < CHANNELS / 10; ++i) {
            const auto device =
                store.emplaceDevice({common::Uuid::VELK_NAMESPACE, "load " + std::to_string(i)}, 1, 0);
            for (const char* name : {"ActivePowerAvailable", "ActivePower", "ApparentPowerAvailable",
                                     "ApparentPower", "AverageEnergy", "CumulatedEnergy", "CurrentAvailable",
                                     "Current", "CurrentTHD", "Efficiency"}) {
                channels.push_back(
                    store.emplaceChannel(device, std::string{"PowerDistribution.Measure."} + name));
            }
        }
        setting = store.emplaceChannel(1, "PowerDistribution.Setting.AutomaticSleepDelay");
        watched = store.emplaceChannel(1, "PowerDistribution.Measure.Voltage");
        qz::tess::CSingleAlarmConfig config;
        config.triggers.push_back(
            {tessapi::LevelAlarm::critical, 1, qz::CValue{240.0F}, {}, 3, "A017", {}, 0});
        store.setAlarmConfig(watched, config);
    }

    void run(std::chrono::seconds time) {
        for (auto end = halfSeconds + 2 * time.count(); halfSeconds < end; ++halfSeconds) {
            const auto waits = clock.waits().size();
            writeHalfSecond();
            awaitWaits(waits + 1); // the keeper has noted it
            clock.advance(std::chrono::milliseconds{500});
            awaitWaits(waits + 2); // and done what it led to
        }
    }

private:
    static constexpr int CHANNELS = 300;

    void writeHalfSecond() {
        for (int i = 0; i < 5; ++i) {
            random = random * 6364136223846793005U + 1442695040888963407U;
            store.setValue(channels[(random >> 33U) % channels.size()],
                           qz::CValue{static_cast<float>(random >> 40U) / 1000.0F});
        }
        if (halfSeconds % 120 == 0) {
            store.setValue(watched, qz::CValue{halfSeconds % 240 == 0 ? 250.0F : 230.0F});
        }
        if (halfSeconds % 1200 == 0) {
            store.setValue(setting, qz::CValue{static_cast<std::int32_t>(halfSeconds)});
        }
    }

    /// A keeper whose log has just grown long enough does not wait twice, hence the bound.
    void awaitWaits(std::size_t count) const {
        const auto latest = std::chrono::steady_clock::now() + std::chrono::milliseconds{20};
        while (clock.waits().size() < count && std::chrono::steady_clock::now() < latest) {
            std::this_thread::yield();
        }
    }

    tessapi::Engine& store;
    FakeClock& clock;
    std::vector<std::uint64_t> channels;
    std::uint64_t setting{0};
    std::uint64_t watched{0};
    std::uint64_t random{4711};
    std::int64_t halfSeconds{0};
};

} // namespace velk::testing
