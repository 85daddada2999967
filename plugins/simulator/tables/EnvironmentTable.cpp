// What is around the device: temperature, and dry contacts of the building.

#include "plugins/simulator/tables/Tables.h"
#include "powerdistribution/core/Paths.h"
#include "powerdistribution/core/Vocabulary.h"

#include <array>

namespace velk::simulator {

using powerdistribution::ECircuit;
using powerdistribution::EMeasurement;
using powerdistribution::EPath;
using powerdistribution::ESetting;
using powerdistribution::ESpecification;
using powerdistribution::EStatus;

namespace {

// clang-format off
constexpr std::array CONTACTS{
    EStatus::BuildingAlarm1,  EStatus::BuildingAlarm2,  EStatus::BuildingAlarm3,  EStatus::BuildingAlarm4,
    EStatus::BuildingAlarm5,  EStatus::BuildingAlarm6,  EStatus::BuildingAlarm7,  EStatus::BuildingAlarm8,
    EStatus::BuildingAlarm9,  EStatus::BuildingAlarm10, EStatus::BuildingAlarm11, EStatus::BuildingAlarm12,
    EStatus::BuildingAlarm13, EStatus::BuildingAlarm14, EStatus::BuildingAlarm15, EStatus::BuildingAlarm16,
};
// clang-format on

} // namespace

void addEnvironmentRows(Rows& rows) {
    const EPath environment{ECircuit::Environment};
    // clang-format off
    const Rows table{
        {environment,                                              node},
        {environment + EMeasurement::Temperature,                  own},
        {environment + ESpecification::TemperatureMinReading,      own},
        {environment + ESpecification::TemperatureMaxReading,      own},
        {environment + ESetting::Temperature,                      setting},
        {environment + ESetting::TemperatureLowCriticalThreshold,  setting},
        {environment + ESetting::TemperatureHighWarningThreshold,  setting},
        {environment + ESetting::TemperatureHighCriticalThreshold, setting},
        {environment + EStatus::TemperatureTooLow,                 own},
        {environment + EStatus::TemperatureTooHigh,                own},
        {environment + EStatus::TemperatureOutOfRange,             own},
        {environment + EStatus::CabinetDoorOpen,                   own},
        {environment + EStatus::Present,                           own},
    };
    // clang-format on
    rows.insert(rows.end(), table.begin(), table.end());
    serve(rows, environment, CONTACTS, own);
}

} // namespace velk::simulator
