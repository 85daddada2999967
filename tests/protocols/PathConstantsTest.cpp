#include "powerdistribution/core/PathConstants.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <utility>

namespace {

using namespace velk::powerdistribution;

/// A static table that is filled while the program is loaded, as rule tables are.
// clang-format off
const std::array<std::pair<const EPath*, const char*>, 52> CONSTANTS{{
    {&paths::specificationActivePowerMaxReading, "Specification.ActivePower.MaxReading"},
    {&paths::specificationActivePowerMinReading, "Specification.ActivePower.MinReading"},
    {&paths::specificationActivePowerNominal, "Specification.ActivePower.Nominal"},
    {&paths::specificationActivePowerHighWarningThreshold, "Specification.ActivePower.HighWarningThreshold"},
    {&paths::specificationApparentPowerMaxReading, "Specification.ApparentPower.MaxReading"},
    {&paths::specificationApparentPowerMinReading, "Specification.ApparentPower.MinReading"},
    {&paths::specificationApparentPowerNominal, "Specification.ApparentPower.Nominal"},
    {&paths::specificationApparentPowerHighWarningThreshold, "Specification.ApparentPower.HighWarningThreshold"},
    {&paths::specificationCurrentMaxReading, "Specification.Current.MaxReading"},
    {&paths::specificationCurrentMinReading, "Specification.Current.MinReading"},
    {&paths::specificationCurrentNominal, "Specification.Current.Nominal"},
    {&paths::specificationCurrentHighWarningThreshold, "Specification.Current.HighWarningThreshold"},
    {&paths::specificationFrequencyNominal, "Specification.Frequency.Nominal"},
    {&paths::specificationPowerFactorMaxReading, "Specification.PowerFactor.MaxReading"},
    {&paths::specificationPowerFactorMinReading, "Specification.PowerFactor.MinReading"},
    {&paths::specificationVoltageHighCriticalThreshold, "Specification.Voltage.HighCriticalThreshold"},
    {&paths::specificationVoltageHighWarningThreshold, "Specification.Voltage.HighWarningThreshold"},
    {&paths::specificationVoltageLowCriticalThreshold, "Specification.Voltage.LowCriticalThreshold"},
    {&paths::specificationVoltageLowWarningThreshold, "Specification.Voltage.LowWarningThreshold"},
    {&paths::specificationVoltageMaxReading, "Specification.Voltage.MaxReading"},
    {&paths::specificationVoltageMinReading, "Specification.Voltage.MinReading"},
    {&paths::specificationVoltageNominal, "Specification.Voltage.Nominal"},
    {&paths::specificationVoltageLLNominal, "Specification.VoltageLL.Nominal"},
    {&paths::specificationVoltageRange, "Specification.VoltageRange"},
    {&paths::measureActivePower, "Measure.ActivePower"},
    {&paths::measureActivePowerAvailable, "Measure.ActivePowerAvailable"},
    {&paths::measureApparentPower, "Measure.ApparentPower"},
    {&paths::measureApparentPowerAvailable, "Measure.ApparentPowerAvailable"},
    {&paths::measureCurrent, "Measure.Current"},
    {&paths::measureCurrentAvailable, "Measure.CurrentAvailable"},
    {&paths::measureEfficiency, "Measure.Efficiency"},
    {&paths::measureFrequency, "Measure.Frequency"},
    {&paths::measurePercentLoad, "Measure.PercentLoad"},
    {&paths::measurePowerFactor, "Measure.PowerFactor"},
    {&paths::measureReactivePower, "Measure.ReactivePower"},
    {&paths::measureVoltage, "Measure.Voltage"},
    {&paths::phase1MeasureVoltageLL, "Phases.1.Measure.VoltageLL"},
    {&paths::measureTemperature, "Measure.Temperature"},
    {&paths::settingForcedRebootDuration, "Setting.ForcedRebootDuration"},
    {&paths::statusDelayBeforeSwitchOff, "Status.DelayBeforeSwitchOff"},
    {&paths::statusDelayBeforeSwitchOn, "Status.DelayBeforeSwitchOn"},
    {&paths::output1MeasureCurrent, "Outputs.1.Measure.Current"},
    {&paths::identificationAttributeManufacturer, "Identification.Attribute.Manufacturer"},
    {&paths::settingVoltageHighDetection, "Setting.VoltageHighDetection"},
    {&paths::settingVoltageLowDetection, "Setting.VoltageLowDetection"},
    {&paths::input1MeasureVoltage, "Inputs.1.Measure.Voltage"},
    {&paths::input1Phase1MeasureVoltageLL, "Inputs.1.Phases.1.Measure.VoltageLL"},
    {&paths::input1StatusWiringFault, "Inputs.1.Status.WiringFault"},
    {&paths::input2StatusWiringFault, "Inputs.2.Status.WiringFault"},
    {&paths::input2SpecificationVoltageHighCriticalThreshold, "Inputs.2.Specification.Voltage.HighCriticalThreshold"},
    {&paths::input2SpecificationVoltageLowCriticalThreshold, "Inputs.2.Specification.Voltage.LowCriticalThreshold"},
    {&paths::specificationPercentLoadHighWarningThreshold, "Specification.PercentLoad.HighWarningThreshold"},
}};
// clang-format on

const std::string WHILE_LOADING = paths::input1Phase1MeasureVoltageLL.nodesToString();

TEST(PathConstantsTest, EachIsThePathThatItsNameSays) {
    for (const auto& [path, text] : CONSTANTS) {
        EXPECT_EQ(path->nodesToString(), text);
    }
}

TEST(PathConstantsTest, AreInitialisedForStaticTablesOfOtherFiles) {
    EXPECT_EQ(WHILE_LOADING, "Inputs.1.Phases.1.Measure.VoltageLL");
}

} // namespace
