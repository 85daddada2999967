#include "powerdistribution/alarms/AlarmConversions.h"

#include <stdexcept>
#include <string>
#include <variant>

namespace velk::powerdistribution::connectors {

using tessapi::LevelAlarm;

namespace {

struct ToStore {
    qz::CValue operator()(bool content) const { return qz::CValue{content}; }
    qz::CValue operator()(std::int32_t content) const { return qz::CValue{content}; }
    qz::CValue operator()(std::uint32_t content) const { return qz::CValue{content}; }
    qz::CValue operator()(float content) const { return qz::CValue{content}; }
    qz::CValue operator()(const conv::UnixTime& time) const {
        return qz::CValue{qz::CTimestamp{time.toIntegralType(), "%F %T"}};
    }
    qz::CValue operator()(const std::string& text) const { return qz::CValue{text}; }
    qz::CValue operator()(const EPath& path) const { return qz::CValue{path.nodesToString()}; }
    qz::CValue operator()(const velk::common::Uuid&) const {
        throw std::invalid_argument{"Unexpected conversion from UUID to qz::CValue"};
    }
    qz::CValue operator()(const BinaryBlock&) const {
        throw std::invalid_argument{"Unexpected conversion from BinaryBlock to qz::CValue"};
    }
    qz::CValue operator()(const InternalLogChunk&) const {
        throw std::invalid_argument{"Unexpected conversion from InternalLogChunk to qz::CValue"};
    }
};

} // namespace

LevelAlarm toQz(Trigger::Level level) {
    switch (level) {
    case Trigger::Level::good:
        return LevelAlarm::good;
    case Trigger::Level::info:
        return LevelAlarm::info;
    case Trigger::Level::warning:
        return LevelAlarm::warning;
    case Trigger::Level::critical:
        return LevelAlarm::critical;
    default:
        return LevelAlarm::none;
    }
}

Trigger::Level fromQz(LevelAlarm level) {
    switch (level) {
    case LevelAlarm::good:
        return Trigger::Level::good;
    case LevelAlarm::info:
        return Trigger::Level::info;
    case LevelAlarm::warning:
        return Trigger::Level::warning;
    case LevelAlarm::critical:
        return Trigger::Level::critical;
    default:
        return Trigger::Level::none;
    }
}

std::int8_t toQz(Trigger::Type type) {
    switch (type) {
    case Trigger::Type::value:
        return 3;
    case Trigger::Type::lower:
        return 2;
    case Trigger::Type::upper:
        return 1;
    case Trigger::Type::inbetween:
        return 4;
    default:
        return -1;
    }
}

qz::CValue toQz(const Value& value) {
    return value.hasValue() ? std::visit(ToStore{}, *value.variant()) : qz::CValue{};
}

qz::CAlarmTrigger toQz(const Trigger& trigger) {
    qz::CAlarmTrigger converted;
    converted.level = toQz(trigger.level);
    converted.type = toQz(trigger.type);
    converted.threshold1 = toQz(trigger.threshold1);
    converted.threshold2 = toQz(trigger.threshold2);
    converted.priority = trigger.priority;
    converted.code = trigger.code;
    return converted;
}

qz::tess::CSingleAlarmConfig toQz(const AlarmConfig& config) {
    qz::tess::CSingleAlarmConfig converted;
    converted.triggers.reserve(config.triggers.size());
    for (const Trigger& trigger : config.triggers) {
        converted.triggers.push_back(toQz(trigger));
    }
    return converted;
}

qz::CMultistateMap makeMultiStateMap(const AlarmConfig& config) {
    qz::CMultistateMap states;
    for (const Trigger& trigger : config.triggers) {
        states.add(toQz(trigger.threshold1), trigger.message);
    }
    return states;
}

} // namespace velk::powerdistribution::connectors
