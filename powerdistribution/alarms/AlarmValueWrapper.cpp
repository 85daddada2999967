#include "powerdistribution/alarms/AlarmValueWrapper.h"

#include <limits>
#include <utility>

namespace velk::powerdistribution::protocols {

namespace {

// Required: plain single-precision arithmetic, so the step vanishes beside a threshold of 4 or more.
Value thresholdOf(Trigger::Type type, const IValueWrapper& setting) {
    constexpr float step = std::numeric_limits<float>::epsilon();
    switch (type) {
    case Trigger::Type::lower:
        return setting.read().get<float>() - step;
    case Trigger::Type::upper:
        return setting.read().get<float>() + step;
    default:
        return setting.read();
    }
}

} // namespace

AlarmValueWrapper::AlarmValueWrapper(ValueWrapperPtr inner, std::optional<AlarmConfig> alarmConfig,
                                     ReferenceWrappers referenced) :
    wrapper{std::move(inner)}, config{std::move(alarmConfig)}, references{std::move(referenced)} {}

AlarmValueWrapper::~AlarmValueWrapper() = default;

bool AlarmValueWrapper::isReadable() const {
    return wrapper->isReadable();
}

bool AlarmValueWrapper::isWritable() const {
    return wrapper->isWritable();
}

Value AlarmValueWrapper::read() const {
    return wrapper->read();
}

bool AlarmValueWrapper::write(const Value& value) {
    return wrapper->write(value);
}

DataConfig AlarmValueWrapper::dataConfig() const {
    DataConfig result;
    result.alarmConfig = config;
    if (!result.alarmConfig) {
        return result;
    }
    for (Trigger& trigger : result.alarmConfig->triggers) {
        if (!trigger.reference.empty()) {
            resolve(trigger);
        }
    }
    return result;
}

void AlarmValueWrapper::resolve(Trigger& trigger) const {
    for (const auto& [setting, reader] : references) {
        if (reader != nullptr && setting.nodesToString() == trigger.reference) {
            trigger.threshold1 = thresholdOf(trigger.type, *reader);
        }
    }
}

} // namespace velk::powerdistribution::protocols
