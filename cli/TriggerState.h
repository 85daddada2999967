#pragma once

#include "platform/tessapi/StoreBrowser.h"

#include <string>

namespace velk::cli {

/// When the trigger matches, for people: "at or above 253 V", "equal to on battery", "from 10 % to 20 %",
/// "never".
std::string conditionText(const qz::CAlarmTrigger& trigger, const tessapi::ChannelRecord& channel);

/// The same for programs: "upper", "lower", "equal", "between", "never".
std::string conditionName(const qz::CAlarmTrigger& trigger);

/// Whether the store holds this trigger of `channel` to be an active alarm.
bool isActive(const qz::CAlarmTrigger& trigger, const tessapi::ChannelRecord& channel);

} // namespace velk::cli
