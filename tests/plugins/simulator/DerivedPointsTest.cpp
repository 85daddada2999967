// What the plug-in works out of what a device tells, for devices that do not tell it themselves.

#include "tests/plugins/simulator/SimulatorHost.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace velk::simulator {
namespace {

using powerdistribution::Value;
using velk::testing::SimulatorHost;

/// A shipped device that tells less, or more, than it does.
class ChangedDeviceTest : public ::testing::Test {
protected:
    static void replace(std::string& text, const std::string& what, const std::string& by) {
        const std::size_t at = text.find(what);
        ASSERT_NE(at, std::string::npos) << what;
        text.replace(at, what.size(), by);
    }
    void begin(const std::string& device, const std::string& absent, const std::string& points = {}) {
        std::ostringstream shipped;
        shipped << std::ifstream{VELK_SOURCE_DIR "/plugins/simulator/devices/" + device + ".json"}.rdbuf();
        std::string text = shipped.str();
        replace(text, R"("absent": [)", R"("absent": [)" + absent + ",");
        replace(text, R"("alarmFile": ")" + device + ".alarms.json\"",
                R"("alarmFile": ")" VELK_SOURCE_DIR "/plugins/simulator/devices/" + device +
                    ".alarms.json\"");
        replace(text, R"("points": {)", R"("points": {)" + points);
        std::ofstream{host.folder / "changed.json"} << text;
        host.configure(R"("device":"changed.json")");
        host.start();
        ASSERT_TRUE(host.find());
    }
    float number(const std::string& path) { return host.read(path).get<float>(); }

    SimulatorHost host{"", false};
};

TEST_F(ChangedDeviceTest, WhatIsStillAvailableIsTheRatingLessWhatIsDrawn) {
    begin("ats", R"("Outputs.x.Measure.CurrentAvailable","Outputs.x.Measure.ActivePowerAvailable",)"
                 R"("Outputs.x.Measure.ApparentPowerAvailable")");
    EXPECT_EQ(host.held("Outputs.1.Measure.CurrentAvailable"), "refused");
    const std::string output = "Outputs.1.";
    EXPECT_FLOAT_EQ(number(output + "Measure.CurrentAvailable"),
                    number(output + "Specification.Current.Nominal") - number(output + "Measure.Current"));
    EXPECT_FLOAT_EQ(number(output + "Measure.ActivePowerAvailable"),
                    number(output + "Specification.ActivePower.Nominal") -
                        number(output + "Measure.ActivePower"));
    EXPECT_FLOAT_EQ(number(output + "Measure.ApparentPowerAvailable"),
                    number(output + "Specification.ApparentPower.Nominal") -
                        number(output + "Measure.ApparentPower"));
    host.command(R"({"do":"load","output":1,"watts":9000})");
    EXPECT_EQ(number(output + "Measure.CurrentAvailable"), 0.0F); // never negative
}

TEST_F(ChangedDeviceTest, LoadIsTheShareOfTheRatedPowerInPercent) {
    begin("ats", R"("Outputs.x.Measure.PercentLoad")");
    EXPECT_FLOAT_EQ(number("Outputs.1.Measure.PercentLoad"),
                    100 * number("Outputs.1.Measure.ActivePower") /
                        number("Outputs.1.Specification.ActivePower.Nominal"));
}

TEST_F(ChangedDeviceTest, VoltageIsOutOfRangeWhenItIsTooHighOrTooLowAndUnknownDuringALoss) {
    begin("ats", R"("Inputs.x.Status.VoltageOutOfRange")");
    EXPECT_EQ(host.held("Inputs.1.Status.VoltageOutOfRange"), "refused");
    EXPECT_EQ(host.read("Inputs.1.Status.VoltageOutOfRange"), Value{false});
    host.command(R"({"do":"mains","input":1,"state":"lost"})");
    EXPECT_EQ(host.read("Inputs.1.Status.VoltageOutOfRange"), Value{true});
    EXPECT_EQ(host.read("Inputs.2.Status.VoltageOutOfRange"), Value{false});
    host.command(R"({"do":"fault","kind":"linkLost"})");
    EXPECT_FALSE(host.read("Inputs.1.Status.VoltageOutOfRange").hasValue());
}

TEST_F(ChangedDeviceTest, SupplierSuppliesByTheQualityOfItsPower) {
    begin("ats", R"("Inputs.x.Status.Supply")");
    EXPECT_EQ(host.held("Inputs.1.Status.Supply"), "refused");
    const auto quality = host.read("Inputs.1.Status.SupplierPowerQuality").get<std::uint32_t>();
    EXPECT_EQ(host.read("Inputs.1.Status.Supply"), Value{quality > 2});
}

TEST_F(ChangedDeviceTest, NameIsProductAndSerialNumberWhereThereIsNone) {
    begin("ats", R"("Identification.Attribute.PhysicalName")");
    EXPECT_EQ(host.read("Identification.Attribute.PhysicalName"),
              Value{std::string{"Transfer 16 TS16-0001"}});
}

TEST_F(ChangedDeviceTest, EnergyOfTheBankIsItsChargeAtItsVoltage) {
    begin("ups-1ph", R"("BackupSystem.PowerBank.Specification.CapacityWh.Nominal")");
    const std::string bank = "BackupSystem.PowerBank.Specification.";
    EXPECT_EQ(host.held(bank + "CapacityWh.Nominal"), "refused");
    EXPECT_FLOAT_EQ(number(bank + "CapacityWh.Nominal"),
                    number(bank + "CapacityAh.Nominal") * number(bank + "Voltage.Nominal"));
}

TEST_F(ChangedDeviceTest, OnlyPhaseOfACircuitHasTheCircuitsVoltage) {
    begin("ats", R"("Outlets.x.Status.Used")", R"("Inputs.1.Phases.Attribute.Count": 1,)");
    EXPECT_EQ(host.read("Inputs.1.Phases.1.Measure.Voltage"), Value{230.0F});
    EXPECT_EQ(host.read("Inputs.1.Phases.1.Measure.Frequency"), Value{50.0F});
    EXPECT_FALSE(host.wrapper("Inputs.2.Phases.1.Measure.Voltage"));
}

TEST_F(ChangedDeviceTest, FaultOfADataPointShowsInThoseThatAreWorkedOutOfIt) {
    begin("ats", R"("Outputs.x.Measure.CurrentAvailable")");
    const auto available = host.wrapper("Outputs.1.Measure.CurrentAvailable");
    EXPECT_TRUE(available->read().hasValue());
    host.command(R"({"do":"fault","kind":"garbage","path":"Outputs.1.Measure.Current"})");
    EXPECT_FALSE(available->read().hasValue());
    host.command(R"({"do":"clear"})");
    host.command(R"({"do":"fault","kind":"linkLost"})");
    EXPECT_FALSE(available->read().hasValue());
}

} // namespace
} // namespace velk::simulator
