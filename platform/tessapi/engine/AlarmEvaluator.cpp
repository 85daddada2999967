#include "platform/tessapi/engine/AlarmEvaluator.h"

#include "platform/tessapi/LevelAlarm.h"

#include <string>
#include <variant>

namespace tessapi {

namespace {

enum TriggerType : std::int8_t { upper = 1, lower = 2, equal = 3, inBetween = 4 };

bool sameText(const qz::CValue& a, const qz::CValue& b) {
    const auto* left = std::get_if<std::string>(&a.variant());
    const auto* right = std::get_if<std::string>(&b.variant());
    return left != nullptr && right != nullptr && *left == *right;
}

} // namespace

bool AlarmEvaluator::isActive(const qz::CAlarmTrigger& trigger, const qz::CValue& value) {
    if (trigger.level == LevelAlarm::none) {
        return false;
    }
    const auto number = value.asNumber();
    const auto low = trigger.threshold1.asNumber();
    if (!number || !low) {
        return trigger.type == equal && sameText(value, trigger.threshold1);
    }
    const auto high = trigger.threshold2.asNumber();
    switch (trigger.type) {
    case upper:
        return *number >= *low;
    case lower:
        return *number <= *low;
    case equal:
        return *number == *low;
    case inBetween:
        return high && *low <= *number && *number <= *high;
    default:
        return false;
    }
}

} // namespace tessapi
