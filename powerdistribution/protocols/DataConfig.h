#pragma once

#include "powerdistribution/alarms/AlarmConfig.h"

#include <optional>

namespace velk::powerdistribution::protocols {

/// What travels with a data point beside its value. A plain value.
struct DataConfig {
    std::optional<AlarmConfig> alarmConfig; ///< the triggers of this data point; empty for none
    bool channelOption{false};      ///< handed to the store when the channel is made; false in this library
    bool alarmConfigChanged{false}; ///< set for the one store that carries new triggers
};

} // namespace velk::powerdistribution::protocols
