#include "plugins/nut/AlarmThresholds.h"

#include "powerdistribution/protocols/AlarmFileCheck.h"

#include <algorithm>
#include <cstdint>
#include <iostream>

namespace velk::nut {

using powerdistribution::AlarmConfigurationParser;
using powerdistribution::EPath;
using powerdistribution::Trigger;

namespace {

bool takesThresholdFrom(const Trigger& trigger, const std::string& setting) {
    const bool isLimit = trigger.type == Trigger::Type::lower || trigger.type == Trigger::Type::upper;
    return isLimit && trigger.reference == setting;
}

/// Whether the alarms of a data point of the family `E` beside the setting take a threshold from it.
template <typename E>
bool isTakenBy(const AlarmConfigurationParser& parser, const EPath& parent, const std::string& setting,
               E last) {
    for (std::uint32_t number = 1; number <= static_cast<std::uint32_t>(last); ++number) {
        const auto config = parser.getConfig(parent + static_cast<E>(number));
        const bool isTaken = config && std::any_of(config->triggers.begin(), config->triggers.end(),
                                                   [&](const Trigger& trigger) {
                                                       return takesThresholdFrom(trigger, setting);
                                                   });
        if (isTaken) {
            return true;
        }
    }
    return false;
}

} // namespace

AlarmThresholds::AlarmThresholds(const std::string& alarmFile) {
    if (alarmFile.empty()) {
        return;
    }
    if (const auto mistake = powerdistribution::protocols::checkAlarmFile(alarmFile)) {
        std::cerr << "nut: no alarms: " + *mistake + "\n";
        return;
    }
    parser.emplace(alarmFile);
    usedFile = alarmFile;
}

bool AlarmThresholds::isThreshold(const EPath& setting) const {
    // A reference names a setting beside the data point, so one at the root has no data point to serve.
    if (!parser || setting.size() < 2) {
        return false;
    }
    const EPath parent = setting.parent();
    const std::string name = setting.lastNode().tostring();
    using powerdistribution::EAttribute;
    using powerdistribution::EMeasurement;
    using powerdistribution::ESetting;
    using powerdistribution::ESpecification;
    using powerdistribution::EStatus;
    return isTakenBy(*parser, parent, name, EMeasurement::Phase) ||
           isTakenBy(*parser, parent, name, EStatus::HealthState) ||
           isTakenBy(*parser, parent, name, ESpecification::TrippedVoltageThreshold) ||
           isTakenBy(*parser, parent, name, ESetting::WiringFaultEnabled) ||
           isTakenBy(*parser, parent, name, EAttribute::Vendor);
}

} // namespace velk::nut
