#pragma once

#include "platform/qz/CAlarmTrigger.h"

namespace tessapi {

/// When a trigger makes an alarm. No state, no database.
namespace AlarmEvaluator {

/// Whether `trigger` is an active alarm at `value`. False for a trigger of level 0, which only names a state,
/// for an invalid value and for an invalid threshold. Numbers of all kinds, booleans and timestamps compare
/// as double; texts only with texts, for equality.
bool isActive(const qz::CAlarmTrigger& trigger, const qz::CValue& value);

} // namespace AlarmEvaluator

} // namespace tessapi
