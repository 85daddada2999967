#include "tests/plugins/simulator/model/ShippedDevice.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

namespace velk::simulator {

namespace {

std::string refusalOf(const std::function<void()>& order) {
    try {
        order();
    } catch (const std::invalid_argument& refusal) {
        return refusal.what();
    }
    return "none";
}

} // namespace

TEST(OrderTest, MainsAreOrderedByInputAndPhase) {
    ShippedDevice device{"ups-3ph"};
    device.model.setMains({2, 3, {}, 215.5, {}});
    device.model.setMains({1, {}, {}, {}, 49.5});
    device.run(0.1);
    EXPECT_FLOAT_EQ(device.number("Inputs.2.Phases.3.Measure.Voltage"), 215.5);
    EXPECT_FLOAT_EQ(device.number("Inputs.2.Phases.2.Measure.Voltage"), 230);
    EXPECT_FLOAT_EQ(device.number("Inputs.1.Phases.3.Measure.Voltage"), 230);
    EXPECT_FLOAT_EQ(device.number("Inputs.1.Measure.Frequency"), 49.5);
    EXPECT_FLOAT_EQ(device.number("Inputs.2.Measure.Frequency"), 50);
    device.mains(MainsState::Normal);
    device.run(0.1);
    EXPECT_FLOAT_EQ(device.number("Inputs.2.Phases.3.Measure.Voltage"), 230);
    EXPECT_FLOAT_EQ(device.number("Inputs.1.Measure.Frequency"), 50);
}

TEST(OrderTest, OrdersNameWhatIsWrong) {
    ShippedDevice device{"ups-3ph"};
    Model& model = device.model;
    EXPECT_EQ(refusalOf([&] {
                  model.setMains({3, {}, MainsState::Lost, {}, {}});
              }),
              "input 3 is not there: expected 1 to 2");
    EXPECT_EQ(refusalOf([&] {
                  model.setMains({0, {}, MainsState::Lost, {}, {}});
              }),
              "input 0 is not there: expected 1 to 2");
    EXPECT_EQ(refusalOf([&] {
                  model.setMains({{}, 4, MainsState::Lost, {}, {}});
              }),
              "phase 4 is not there: expected 1 to 3");
    EXPECT_EQ(refusalOf([&] { model.setMains({}); }),
              "mains: expected \"state\", \"voltage\" or \"frequency\"");
    EXPECT_EQ(refusalOf([&] {
                  model.setMains({{}, {}, {}, 5000, {}});
              }),
              "voltage 5000.000000: expected 0 to 1000 V");
    EXPECT_EQ(refusalOf([&] {
                  model.setMains({{}, {}, {}, {}, 0});
              }),
              "frequency 0.000000: expected 1 to 1000 Hz");
    EXPECT_EQ(refusalOf([&] {
                  model.setLoad({7, {}, {}, 10, {}});
              }),
              "outlet 7 is not there: expected 1 to 6");
    EXPECT_EQ(refusalOf([&] {
                  model.setLoad({{}, 2, {}, 10, {}});
              }),
              "output 2 is not there: expected 1 to 1");
    EXPECT_EQ(refusalOf([&] {
                  model.setLoad({1, {}, {}, {}, {}});
              }),
              "load: expected either \"watts\" or \"percent\"");
    EXPECT_EQ(refusalOf([&] {
                  model.setLoad({1, {}, {}, 1, 1});
              }),
              "load: expected either \"watts\" or \"percent\"");
    EXPECT_EQ(refusalOf([&] {
                  model.setLoad({1, 1, {}, 1, {}});
              }),
              "load: expected an outlet alone, or an output and a phase");
    EXPECT_EQ(refusalOf([&] {
                  model.setLoad({{}, {}, {}, 1, {}});
              }),
              "load: expected \"outlet\", \"output\" or \"phase\"");
    EXPECT_EQ(refusalOf([&] {
                  model.setBattery({101, {}, {}, {}});
              }),
              "charge 101.000000: expected 0 to 100 %");
    EXPECT_EQ(refusalOf([&] { model.setCounts({{"Fans", 1}}); }), "counts: this device has no \"Fans\"");
    EXPECT_EQ(refusalOf([&] { model.setCounts({{"Outlets", 7}}); }), "counts: Outlets 7: expected 0 to 6");
    EXPECT_EQ(refusalOf([] {
                  ShippedDevice{"ats"}.model.setBattery({50, {}, {}, {}});
              }),
              "battery: this device has none");
}

TEST(OrderTest, PhaseIsOneOfEachInputThatIsOrdered) {
    DeviceDescription description = readDeviceFile(deviceFile("ats"));
    ASSERT_EQ(description.inputs.at(0).phases, 1U);
    description.inputs.at(1).phases = 3;
    Model model{description, 1};
    EXPECT_EQ(refusalOf([&] { model.setMains({2, 3, MainsState::Lost, {}, {}}); }), "none");
    const std::string refusal = "phase 3 is not there: expected 1 to 1";
    EXPECT_EQ(refusalOf([&] { model.setMains({1, 3, MainsState::Lost, {}, {}}); }), refusal);
    EXPECT_EQ(refusalOf([&] { model.setMains({{}, 3, MainsState::Lost, {}, {}}); }), refusal);
}

TEST(OrderTest, RefusedOrderHasChangedNothing) {
    ShippedDevice device{"ups-3ph"};
    EXPECT_NE(refusalOf([&] { device.model.setBattery({50, true, false, 500}); }), "none");
    EXPECT_NE(refusalOf([&] { device.model.setCounts({{"Inputs", 1}, {"Outlets", 9}}); }), "none");
    device.run(0.1);
    EXPECT_FLOAT_EQ(device.number("BackupSystem.PowerBank.Measure.StateOfCharge"), 100);
    EXPECT_EQ(device.state("Inputs.Attribute.Count"), 2U);
}

TEST(OrderTest, LoadOfAPhaseIsSpreadOverItsOutlets) {
    ShippedDevice device{"ups-3ph"};
    device.model.setLoad({{}, {}, 2, 5000, {}});
    device.run(0.1);
    EXPECT_FLOAT_EQ(device.number("Outputs.1.Phases.2.Measure.ActivePower"), 5000);
    EXPECT_FLOAT_EQ(device.number("Outlets.3.Measure.ActivePower"), 2500);
    EXPECT_FLOAT_EQ(device.number("Outputs.1.Phases.1.Measure.ActivePower"), 6000);
}

TEST(OrderTest, LoadOfAnOutputIsItsShareOfTheNameplate) {
    ShippedDevice device{"ups-3ph"};
    device.model.setLoad({{}, 1, {}, {}, 50});
    device.run(0.1);
    EXPECT_FLOAT_EQ(device.number("Outputs.1.Measure.ActivePower"), 18000);
}

TEST(OrderTest, LoadGoesToTheOutletsThatAreOn) {
    ShippedDevice device{"ups-1ph"};
    ASSERT_TRUE(device.act("Outlets.1.Action.SwitchOff"));
    device.run(0.1);
    device.model.setLoad({{}, 1, {}, 700, {}});
    device.run(0.1);
    EXPECT_FLOAT_EQ(device.number("Outputs.1.Measure.ActivePower"), 700);
    EXPECT_FLOAT_EQ(device.number("Outlets.2.Measure.ActivePower"), 100);
    EXPECT_EQ(device.number("Outlets.1.Measure.ActivePower"), 0);
}

TEST(OrderTest, LoadHangsOnTheTerminalsWhereThereAreNoOutlets) {
    ShippedDevice device{"ats"};
    device.model.setLoad({{}, 1, {}, {}, 25});
    device.run(0.1);
    EXPECT_FLOAT_EQ(device.number("Outputs.1.Measure.ActivePower"), 920);
}

TEST(OrderTest, IdentityChanges) {
    ShippedDevice device{"ups-1ph"};
    device.model.setIdentity({"SN-2", {}, "5f1d6a0e-3c5b-4e0a-9f4e-2f3d4c0b1a02", {}});
    EXPECT_EQ(device.model.read("Identification.Attribute.SerialNumber"), Value{std::string{"SN-2"}});
    EXPECT_EQ(device.model.read("Identification.Attribute.FirmwareVersion"), Value{std::string{"1.3.0"}});
    EXPECT_EQ(device.model.read("Identification.Attribute.Uuid"),
              Value{std::string{"5f1d6a0e-3c5b-4e0a-9f4e-2f3d4c0b1a02"}});
    device.model.setIdentity({{}, "1.4.0", {}, "LI-1500-B"});
    EXPECT_EQ(device.model.read("Identification.Attribute.FirmwareVersion"), Value{std::string{"1.4.0"}});
    EXPECT_EQ(device.model.read("Identification.Attribute.Model"), Value{std::string{"LI-1500-B"}});
}

TEST(OrderTest, FewerItemsAreServedAndDrawNothing) {
    ShippedDevice device{"pdu-42"};
    device.model.setCounts({{"Outlets", 3}});
    device.run(0.1);
    EXPECT_EQ(device.state("Outlets.Attribute.Count"), 3U);
    EXPECT_NE(device.model.find("Outlets.3.Status.Supply"), nullptr);
    EXPECT_EQ(device.model.find("Outlets.4.Status.Supply"), nullptr);
    EXPECT_FALSE(device.model.read("Outlets.4.Status.Supply").hasValue());
    EXPECT_FALSE(device.act("Outlets.4.Action.SwitchOff"));
    EXPECT_EQ(device.model.points().count("Outlets.42.Measure.Current"), 0U);
    EXPECT_FLOAT_EQ(static_cast<float>(device.model.balance().output), 390);
    device.model.setCounts({{"Outlets", 42}});
    device.run(0.1);
    EXPECT_NE(device.model.find("Outlets.42.Status.Supply"), nullptr);
    EXPECT_FLOAT_EQ(static_cast<float>(device.model.balance().output), 5040);
}

TEST(OrderTest, InputThatIsNotThereFeedsNothing) {
    ShippedDevice device{"ats"};
    device.mains(1, MainsState::Lost);
    device.model.setCounts({{"Inputs", 1}});
    device.run(0.1);
    EXPECT_EQ(device.mode(), Mode::Off);
    EXPECT_EQ(device.model.find("Inputs.2.Status.Supplied"), nullptr);
    device.model.setCounts({{"Inputs", 2}});
    device.run(6);
    EXPECT_EQ(device.mode(), Mode::OnAlternateSource);
}

TEST(OrderTest, FewerStorageModulesHoldLess) {
    ShippedDevice device{"ups-3ph"};
    device.run(0.1);
    const auto before = device.state("BackupSystem.PowerBank.Measure.RemainingTime");
    device.model.setCounts({{"StorageModules", 2}, {"Chargers", 1}});
    device.run(0.1);
    EXPECT_NEAR(device.state("BackupSystem.PowerBank.Measure.RemainingTime"), before / 2, 1);
    EXPECT_EQ(device.state("BackupSystem.PowerBank.StorageModules.Attribute.Count"), 2U);
    EXPECT_EQ(device.model.find("BackupSystem.PowerBank.StorageModules.3.Status.Supply"), nullptr);
    device.charge(50);
    device.run(0.1);
    EXPECT_FLOAT_EQ(static_cast<float>(device.model.balance().charging), 2000);
}

TEST(OrderTest, WordsOfTheMainsAreKnown) {
    EXPECT_EQ(mainsStateOf("lost"), MainsState::Lost);
    EXPECT_EQ(mainsStateOf("normal"), MainsState::Normal);
    EXPECT_EQ(mainsStateOf("sag"), MainsState::Sag);
    EXPECT_EQ(mainsStateOf("swell"), MainsState::Swell);
    EXPECT_EQ(mainsStateOf("Lost"), std::nullopt);
}

} // namespace velk::simulator
