#pragma once

#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/LevelAlarm.h"
#include "platform/tessapi/TessAccessor.h"
#include "testing/TemporaryDirectory.h"

#include <memory>
#include <string>
#include <vector>

namespace velk::benchmarks {

/// A store with measured channels of two alarm triggers each that never match.
class MeasuredStore {
public:
    /// On a file system in memory.
    explicit MeasuredStore(int count) : MeasuredStore{count, ""} {}
    MeasuredStore(int count, const std::string& otherUrl) :
        url{otherUrl.empty() ? "sqlite:" + (folder / "tess.db").string() : otherUrl} {
        constexpr int CHANNELS_OF_A_DEVICE = 10;
        const char* const names[CHANNELS_OF_A_DEVICE] = {
            "Voltage",       "Current",     "Frequency",  "ActivePower", "ApparentPower",
            "ReactivePower", "PowerFactor", "PeakFactor", "PercentLoad", "Temperature"};
        std::uint64_t device = 0;
        for (int i = 0; i < count; ++i) {
            if (i % CHANNELS_OF_A_DEVICE == 0) {
                device = accessor->emplaceDevice(
                    common::Uuid{common::Uuid::VELK_NAMESPACE, "measured " + std::to_string(i)}, 1, 0);
            }
            ids.push_back(channels().emplaceChannel(
                device, std::string{"PowerDistribution.Measure."} + names[i % CHANNELS_OF_A_DEVICE], false));
            channels().setChannelAlarmConfig(ids.back(), farAway());
        }
    }

    tessapi::InBandAccessor& channels() { return accessor->inbandAccessor(); }

private:
    static qz::tess::CSingleAlarmConfig farAway() {
        qz::tess::CSingleAlarmConfig config;
        for (const auto& [type, threshold] : {std::pair{1, 1e9F}, std::pair{2, -1e9F}}) {
            qz::CAlarmTrigger trigger;
            trigger.level = tessapi::LevelAlarm::warning;
            trigger.type = static_cast<std::int8_t>(type);
            trigger.threshold1 = qz::CValue{threshold};
            trigger.priority = 3;
            trigger.code = "B" + std::to_string(type);
            config.triggers.push_back(trigger);
        }
        return config;
    }

    const testing::TemporaryDirectory folder{"/dev/shm"};

public:
    const std::string url;
    const std::unique_ptr<tessapi::TessAccessor> accessor{tessapi::TessAccessor::open("benchmark", url)};
    std::vector<std::uint64_t> ids;
};

} // namespace velk::benchmarks
