#include "cli/TriggerState.h"

#include "cli/ValueText.h"

#include <algorithm>

namespace velk::cli {

namespace {

constexpr std::int8_t UPPER = 1;
constexpr std::int8_t LOWER = 2;
constexpr std::int8_t EQUAL = 3;
constexpr std::int8_t BETWEEN = 4;

/// As the store evaluates: numbers of all kinds as double, texts only for equality.
bool matches(const qz::CAlarmTrigger& trigger, const qz::CValue& value) {
    if (trigger.type == EQUAL && !value.asNumber()) {
        return value.isValid() && value == trigger.threshold1;
    }
    const auto number = value.asNumber();
    const auto first = trigger.threshold1.asNumber();
    if (!number || !first) {
        return false;
    }
    switch (trigger.type) {
    case UPPER:
        return *number >= *first;
    case LOWER:
        return *number <= *first;
    case EQUAL:
        return *number == *first;
    case BETWEEN: {
        const auto second = trigger.threshold2.asNumber();
        return second && *first <= *number && *number <= *second;
    }
    default:
        return false;
    }
}

} // namespace

std::string conditionText(const qz::CAlarmTrigger& trigger, const tessapi::ChannelRecord& channel) {
    const std::string first = displayText(trigger.threshold1, channel);
    switch (trigger.type) {
    case UPPER:
        return "at or above " + first;
    case LOWER:
        return "at or below " + first;
    case EQUAL:
        return "equal to " + first;
    case BETWEEN:
        return "from " + first + " to " + displayText(trigger.threshold2, channel);
    default:
        return "never";
    }
}

std::string conditionName(const qz::CAlarmTrigger& trigger) {
    switch (trigger.type) {
    case UPPER:
        return "upper";
    case LOWER:
        return "lower";
    case EQUAL:
        return "equal";
    case BETWEEN:
        return "between";
    default:
        return "never";
    }
}

bool isActive(const qz::CAlarmTrigger& trigger, const tessapi::ChannelRecord& channel) {
    // The store keeps of an alarm what it is, not which line it comes from: two lines may say the same of
    // themselves.
    const bool isRaised = std::any_of(channel.activeAlarms.begin(), channel.activeAlarms.end(),
                                      [&trigger](const tessapi::ActiveAlarm& alarm) {
                                          return alarm.level == trigger.level && alarm.code == trigger.code &&
                                                 alarm.priority == trigger.priority;
                                      });
    return isRaised && matches(trigger, channel.value);
}

} // namespace velk::cli
