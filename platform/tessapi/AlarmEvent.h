#pragma once

#include "platform/qz/CValue.h"
#include "platform/tessapi/LevelAlarm.h"

#include <cstdint>
#include <string>

namespace tessapi {

/// An alarm that was raised or cleared. It tells everything itself: the channel may be gone.
struct AlarmEvent {
    std::int64_t number{0}; ///< rises by one with each event of a store, 1 for its first one
    std::int64_t timeMs{0}; ///< milliseconds since 1970 UTC
    bool raised{false};     ///< false: cleared
    std::uint64_t device{~std::uint64_t{0}};
    std::uint64_t channel{~std::uint64_t{0}};
    std::string place;   ///< attribute 7 of the device, for instance "Inputs.1"; may be empty
    std::string name;    ///< of the channel, for instance "PowerDistribution.Measure.Voltage"
    std::string code;    ///< of the trigger; may be empty
    std::string message; ///< the name of the state that the value has, else what the catalogue says of the
                         ///< channel; may be empty
    LevelAlarm level{LevelAlarm::none};
    std::int32_t priority{-1};
    std::int8_t type{-1};  ///< of the trigger: see qz::CAlarmTrigger
    qz::CValue value;      ///< that raised or cleared it; invalid when the channel lost its value
    qz::CValue threshold1; ///< of the trigger, as it was
    qz::CValue threshold2; ///< likewise

    friend bool operator==(const AlarmEvent&, const AlarmEvent&) = default;
};

} // namespace tessapi
