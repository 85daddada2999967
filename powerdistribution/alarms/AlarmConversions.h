#pragma once

#include "platform/qz/CAlarmTrigger.h"
#include "platform/qz/CMultistateMap.h"
#include "platform/qz/CSingleAlarmConfig.h"
#include "platform/qz/CValue.h"
#include "platform/tessapi/LevelAlarm.h"
#include "powerdistribution/alarms/AlarmConfig.h"

#include <cstdint>

namespace velk::powerdistribution::connectors {

// Between the alarm types of this system and those of the store.

/// `LevelAlarm::none` for a level beyond the table.
tessapi::LevelAlarm toQz(Trigger::Level level);

/// `Trigger::Level::none` for a level beyond the table.
Trigger::Level fromQz(tessapi::LevelAlarm level);

/// The store's number of the comparison; -1, never, for none and everything beyond the table.
std::int8_t toQz(Trigger::Type type);

/// Invalid for an empty value; a path as its text. Throws std::invalid_argument "Unexpected conversion from
/// UUID to qz::CValue", likewise "BinaryBlock" and "InternalLogChunk".
qz::CValue toQz(const Value& value);

/// Message and reference stay behind.
qz::CAlarmTrigger toQz(const Trigger& trigger);
qz::tess::CSingleAlarmConfig toQz(const AlarmConfig& config);

/// The triggers of a state channel give each state its name.
qz::CMultistateMap makeMultiStateMap(const AlarmConfig& config);

} // namespace velk::powerdistribution::connectors
