#pragma once

#include "platform/qz/CAlarmTrigger.h"

#include <cstdint>
#include <vector>

namespace qz::tess {

/// All triggers of one channel, in order. An empty list takes the channel's alarms away.
struct CSingleAlarmConfig {
    std::uint64_t id{~std::uint64_t{0}}; ///< all ones
    std::vector<CAlarmTrigger> triggers;

    friend bool operator==(const CSingleAlarmConfig&, const CSingleAlarmConfig&) = default;
};

} // namespace qz::tess
