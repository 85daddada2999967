#include "plugins/simulator/model/Publishing.h"

#include <cmath>

namespace velk::simulator {

namespace {

using powerdistribution::StoragePresent;

constexpr double CRITICAL_CHARGE = 5; ///< in percent
constexpr double CRITICAL_SECONDS = 60;
constexpr double WORN_OUT = 60; ///< state of health in percent

void publishStorage(const NodePoints& node, const Battery& battery, const BatteryDescription& nameplate) {
    node.show("Measure.Voltage", [&battery] { return rounded(battery.voltage(), 0.1); });
    node.show("Measure.StateOfCharge", [&battery] { return rounded(battery.stateOfCharge(), 0.1); });
    node.show("Measure.StateOfHealth", [&battery] { return battery.stateOfHealth(); });
    node.show("Measure.Temperature", [&battery] { return rounded(battery.celsius(), 0.1); });
    node.show("Measure.MaxCellTemperature", [&battery] { return rounded(battery.celsius() + 0.6, 0.1); });
    node.show("Measure.MinCellTemperature", [&battery] { return rounded(battery.celsius() - 0.4, 0.1); });
    node.show("Measure.MaxCellVoltage", [&battery] { return rounded(battery.cellVoltage() * 1.004, 0.001); });
    node.show("Measure.MinCellVoltage", [&battery] { return rounded(battery.cellVoltage() * 0.995, 0.001); });
    node.show("Specification.Voltage.Nominal", [nameplate] { return nameplate.voltage; });
}

void publishModules(const NodePoints& bank, const Battery& battery, const BatteryDescription& nameplate) {
    for (std::uint32_t index = 1; index <= nameplate.modules; ++index) {
        const NodePoints module = bank.below("StorageModules").item(index);
        publishStorage(module, battery, nameplate);
        const double share = 1.0 / nameplate.modules;
        module.show("Measure.Current",
                    [&battery] { return rounded(battery.current() / battery.modules(), 0.01); });
        module.show("Specification.CapacityWh.Nominal",
                    [nameplate, share] { return nameplate.capacityWh * share; });
        module.show("Status.Present", [&battery] { return battery.isPresent(); });
        // A module that stands ready counts as one that supplies.
        module.show("Status.Supply", [&battery] { return battery.isPresent() && !battery.isFailed(); });
    }
}

void publishChargers(const NodePoints& bank, const Plant& plant, const BatteryDescription& nameplate) {
    const Charger& charger = *plant.charger;
    for (std::uint32_t index = 1; index <= nameplate.chargers; ++index) {
        const NodePoints node = bank.below("Chargers").item(index);
        const double share = 1.0 / nameplate.chargers;
        node.show("Status.ChargerStatus",
                  [&charger] { return static_cast<std::uint32_t>(charger.status()); });
        node.show("Status.Supply", [&charger] {
            return charger.status() == Charger::Status::Charging ||
                   charger.status() == Charger::Status::Floating;
        });
        node.show("Status.SwitchedOn", [&charger] { return charger.status() != Charger::Status::Off; });
        node.show("Measure.ActivePower", [&plant, share] { return plant.balance.charging * share; });
        node.show("Specification.ActivePower.Nominal",
                  [nameplate, share] { return nameplate.chargePower * share; });
    }
}

void publishTest(const NodePoints& bank, TestRun& test, const std::function<conv::UnixTime()>& clock) {
    bank.show("Status.TestStatus", [&test] { return static_cast<std::uint32_t>(test.isRunning() ? 1 : 0); });
    bank.show("Status.LastTestResult", [&test]() -> std::optional<std::uint32_t> {
        const auto result = test.lastResult();
        return result ? std::optional{static_cast<std::uint32_t>(*result)} : std::nullopt;
    });
    bank.show("Status.LastTestResultDate", [&test] { return test.lastDate(); });
    bank.show("Status.LastSuccessfulTestDate", [&test] { return test.lastSuccess(); });
    bank.onTrue("Action.StartTest", [&test] { return test.start(); });
    bank.onTrue("Action.AbortTest", [&test, clock] { return test.abort(clock()); });
}

void publishCondition(const NodePoints& bank, const Battery& battery, const Ups& ups) {
    const auto lowCharge = bank.knob<float>("Setting.LowStateOfChargeThreshold", 20);
    const auto lowRuntime = bank.knob<float>("Setting.LowRuntimeThreshold", 120);
    bank.show("Status.LowStateOfCharge", [&battery, lowCharge] {
        return battery.isPresent() && battery.stateOfCharge() < lowCharge.get();
    });
    bank.show("Status.LowRuntime", [&ups, lowRuntime] { return ups.remainingSeconds() < lowRuntime.get(); });
    bank.show("Status.CriticalLowStateOfCharge",
              [&battery] { return battery.isPresent() && battery.stateOfCharge() < CRITICAL_CHARGE; });
    bank.show("Status.Depleted", [&ups] { return ups.isDepleted(); });
    bank.show("Status.LowStateOfHealth", [&battery] { return battery.stateOfHealth() < WORN_OUT; });
    bank.show("Status.NeedService",
              [&battery] { return battery.isFailed() || battery.stateOfHealth() < WORN_OUT; });
    bank.show("Status.BmsFailure",
              [&battery] { return static_cast<std::uint32_t>(battery.isFailed() ? 1 : 0); });
    const auto tooWarm = bank.knob<float>("Setting.Temperature.HighWarningThreshold", 40);
    bank.show("Status.TemperatureTooHigh", [&battery, tooWarm] { return battery.celsius() > tooWarm.get(); });
}

} // namespace

void publishBackup(const NodePoints& node, Plant& plant, const Ups& ups, const BatteryDescription& nameplate,
                   const std::function<conv::UnixTime()>& clock) {
    const NodePoints bank = node.below("PowerBank");
    const Battery& battery = *plant.battery;
    publishStorage(bank, battery, nameplate);
    bank.show("Measure.Current", [&battery] { return rounded(battery.current(), 0.01); });
    bank.show("Measure.ActivePower", [&battery] { return battery.watts(); });
    bank.show("Measure.RemainingTime",
              [&ups] { return static_cast<std::uint32_t>(std::floor(ups.remainingSeconds())); });
    bank.show("Measure.CyclesCount", [&battery] { return static_cast<std::uint32_t>(battery.cycles()); });
    bank.show("Specification.CapacityWh.Nominal", [nameplate] { return nameplate.capacityWh; });
    bank.show("Specification.CapacityAh.Nominal",
              [nameplate] { return nameplate.capacityWh / nameplate.voltage; });
    bank.show("Status.Supply", [&battery] { return battery.watts() < 0; });
    bank.show("Status.StoragePresent", [&battery, &ups] {
        const auto state = ups.isWithoutStorage() ? StoragePresent::NoStorageMode
                           : battery.isPresent()  ? StoragePresent::Present
                                                  : StoragePresent::NotPresent;
        return static_cast<std::uint32_t>(state);
    });
    publishCondition(bank, battery, ups);
    publishTest(bank, *plant.test, clock);
    publishModules(bank, battery, nameplate);
    publishChargers(bank, plant, nameplate);
}

} // namespace velk::simulator
