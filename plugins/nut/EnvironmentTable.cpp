#include "plugins/nut/Codecs.h"
#include "plugins/nut/DeviceShape.h"
#include "plugins/nut/Points.h"
#include "plugins/nut/Tables.h"
#include "powerdistribution/core/Vocabulary.h"

namespace velk::nut {

using powerdistribution::ECircuit;
using powerdistribution::EMeasurement;
using powerdistribution::EPath;
using powerdistribution::ESetting;
using powerdistribution::EStatus;

namespace {

const EPath environment{ECircuit::Environment};

/// The variables of the only sensor, or of the first of several.
Names sensor(const std::string& suffix) {
    return {"ambient." + suffix, "ambient.1." + suffix};
}

Names sensorLimit(const std::vector<std::string>& suffixes) {
    Names names;
    for (const std::string& suffix : suffixes) {
        for (std::string& name : sensor("temperature." + suffix)) {
            names.push_back(std::move(name));
        }
    }
    return names;
}

Names sensorState() {
    return {"ambient.temperature.status", "ambient.1.temperature.status", "ambient.temperature.alarm",
            "ambient.1.temperature.alarm"};
}

} // namespace

void addEnvironmentRows(Rows& rows) {
    // clang-format off
    const Rows table{
        {environment,                                  node(hasEnvironment)},
        {environment + EMeasurement::Temperature,      variable(sensor("temperature"), decodeTemperature)},
        {environment + ESetting::TemperatureHighCriticalThreshold,
            setting(sensorLimit({"high.critical", "high", "alarm.high", "alarm.maximum"}), temperature())},
        {environment + ESetting::TemperatureHighWarningThreshold,
            setting(sensorLimit({"high.warning"}), temperature())},
        {environment + ESetting::TemperatureLowCriticalThreshold,
            setting(sensorLimit({"low.critical", "low", "alarm.low", "alarm.minimum"}), temperature())},
        {environment + EStatus::TemperatureTooHigh,    variable(sensorState(), decodeTooHigh)},
        {environment + EStatus::TemperatureTooLow,     variable(sensorState(), decodeTooLow)},
        {environment + EStatus::TemperatureOutOfRange, variable(sensorState(), decodeOutOfRange)},
        {environment + EStatus::Present,               variable(sensor("present"), decodeBool)},
    };
    // clang-format on
    rows.insert(rows.end(), table.begin(), table.end());

    constexpr std::uint32_t CONTACTS = 16;
    for (std::uint32_t contact = 0; contact < CONTACTS; ++contact) {
        const auto alarm =
            static_cast<EStatus>(static_cast<std::uint32_t>(EStatus::BuildingAlarm1) + contact);
        const std::string name = "contacts." + std::to_string(contact + 1) + ".status";
        rows.push_back({environment + alarm, variable(sensor(name), decodeContact)});
    }
}

} // namespace velk::nut
