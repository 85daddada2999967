#include "plugins/simulator/model/Publishing.h"

namespace velk::simulator {

namespace {

void publishSwitch(const NodePoints& node, Switch& relay) {
    node.show("Status.SwitchedOn", [&relay] { return relay.isOn(); });
    node.show("Status.DelayBeforeSwitchOff", [&relay] { return relay.secondsToOff(); });
    node.show("Status.DelayBeforeSwitchOn", [&relay] { return relay.secondsToOn(); });
    node.show("Status.ShutdownPending", [&relay] { return relay.isGoingOff(); });
    node.show("Status.StartupPending", [&relay] { return relay.isGoingOn() || relay.awaitsRestart(); });
    const auto offDelay = [&relay] { return relay.ownOffDelay(); };
    const auto onDelay = [&relay] { return relay.ownOnDelay(); };
    node.onDelay("Action.SwitchOff", offDelay,
                 [&relay](double delay) { return relay.switchOff(delay), true; });
    node.onDelay("Action.SwitchOffWithAutoRestart", offDelay,
                 [&relay](double delay) { return relay.switchOffWithRestart(delay), true; });
    node.onDelay("Action.SwitchOn", onDelay, [&relay](double delay) { return relay.switchOn(delay), true; });
    node.onTrue("Action.CancelSwitchOff", [&relay] { return relay.cancelSwitchOff(), true; });
    node.onTrue("Action.CancelSwitchOffWithAutoRestart",
                [&relay] { return relay.cancelSwitchOffWithRestart(), true; });
    node.onTrue("Action.CancelSwitchOn", [&relay] { return relay.cancelSwitchOn(), true; });
}

void publishOverload(const NodePoints& node, const Circuit& circuit) {
    node.show("Status.Overload", [&circuit] { return circuit.percentLoad() > 100; });
    node.show("Status.CriticalOverload", [&circuit] { return circuit.percentLoad() > 125; });
}

} // namespace

void publishInput(const NodePoints& node, const Input& input) {
    // As the catalogue knows the qualities.
    constexpr std::uint32_t NOT_SUPPLYING = 2;
    constexpr std::uint32_t SUPPLYING = 3;
    node.show("Status.Supplied", [&input] { return input.isLive(); });
    node.show("Status.InRange", [&input] { return input.isAccepted(); });
    node.show("Status.Used", [&input] { return input.circuit.power().active > 0; });
    node.show("Status.VoltageTooLow", [&input] { return input.isVoltageTooLow(); });
    node.show("Status.VoltageTooHigh", [&input] { return input.isVoltageTooHigh(); });
    node.show("Status.VoltageOutOfRange",
              [&input] { return input.isVoltageTooLow() || input.isVoltageTooHigh(); });
    node.show("Status.FrequencyOutOfRange", [&input] { return input.isFrequencyOutOfRange(); });
    node.show("Status.SupplierPowerQuality", [&input] { return input.isLive() ? SUPPLYING : NOT_SUPPLYING; });
    const auto derated = node.knob<float>("Specification.Voltage.LowDeratedDetection", 0);
    if (derated.exists()) {
        node.show("Status.VoltageDerated",
                  [&input, derated] { return input.isLive() && input.circuit.voltage() < derated.get(); });
    }
    const double hertz = input.nominalFrequency();
    node.show("Specification.Frequency.Nominal", [hertz] { return hertz; });
}

void publishOutput(const NodePoints& node, Output& output) {
    node.show("Status.Supply", [&output] { return output.circuit.voltage() > 0; });
    publishSwitch(node, output.relay);
    publishOverload(node, output.circuit);
}

void publishOutlet(const NodePoints& node, Outlet& outlet) {
    node.show("Status.Supply", [&outlet] { return outlet.circuit.voltage() > 0; });
    publishSwitch(node, outlet.relay);
}

void publishBranch(const NodePoints& node, Branch& branch) {
    node.show("Status.Supply", [&branch] { return branch.circuit.voltage() > 0; });
    node.show("Status.SwitchedOn", [&branch] { return branch.isClosed(); });
    node.show("Status.BreakerTripped", [&branch] { return branch.isTripped(); });
    // The library computes this status of every collection but the branches.
    constexpr std::uint32_t STOPPED = 5;
    constexpr std::uint32_t IN_SERVICE = 16;
    node.show("Status.OperatingStatus",
              [&branch] { return branch.circuit.voltage() > 0 ? IN_SERVICE : STOPPED; });
    publishOverload(node, branch.circuit);
    const auto atOnce = [] { return 0.0; };
    node.onDelay("Action.SwitchOff", atOnce,
                 [&branch](double delay) { return delay <= 0 && (branch.open(), true); });
    node.onDelay("Action.SwitchOn", atOnce,
                 [&branch](double delay) { return delay <= 0 && (branch.close(), true); });
}

void publishConverter(const NodePoints& node, const Converter& converter) {
    publishFlow(node, converter.circuit);
    publishPhases(node, converter.circuit);
    node.show("Status.Supplied", [&converter] { return converter.supplied; });
    node.show("Status.Supply", [&converter] { return converter.supplies; });
    node.show("Status.SwitchedOn", [&converter] { return converter.switchedOn; });
    node.show("Measure.Efficiency", [&converter] { return converter.efficiency; });
}

void publishBypasses(const NodePoints& converters, OnlineUps& ups) {
    const auto atOnce = [] { return 0.0; };
    const NodePoints automatic = converters.below("AutomaticBypass");
    automatic.onDelay("Action.SwitchOn", atOnce,
                      [&ups](double delay) { return delay <= 0 && ups.forceBypass(); });
    automatic.onDelay("Action.SwitchOff", atOnce,
                      [&ups](double delay) { return delay <= 0 && (ups.releaseBypass(), true); });
    const NodePoints maintenance = converters.below("MaintenanceBypass");
    maintenance.onDelay("Action.SwitchOn", atOnce,
                        [&ups](double delay) { return delay <= 0 && (ups.closeMaintenanceBypass(), true); });
    maintenance.onDelay("Action.SwitchOff", atOnce,
                        [&ups](double delay) { return delay <= 0 && (ups.openMaintenanceBypass(), true); });
}

void publishSource(const NodePoints& root, const TransferSwitch& transfer) {
    for (const char* place : {"PowerConverters.TransferSwitch", "Outputs.1"}) {
        root.below(place).show("Status.Source", [&transfer] { return transfer.sourceNumber(); });
    }
}

void publishModules(const NodePoints& node, const Plant& plant, const ModuleDescription& modules,
                    const ThermalMass& heat) {
    const std::uint32_t count = modules.count;
    node.show("Attribute.Count", [count] { return count; });
    const auto level = node.knob<std::uint32_t>("Setting.RedundancyLevel", 0);
    const Circuit& output = plant.outputs.front().circuit;
    const auto carries = [&output, modules, level] {
        const double spare = modules.count - std::min(level.get(), modules.count);
        return output.power().apparent() <= spare * modules.apparentPower;
    };
    node.show("Status.Redundant", [carries, level] { return level.get() > 0 && carries(); });
    node.show("Status.RedundancyLoss", [carries, level] { return level.get() > 0 && !carries(); });
    node.show("Measure.Temperature", [&heat] { return rounded(heat.celsius(), 0.1); });
    const auto high = node.knob<float>("Setting.Temperature.HighWarningThreshold", 1000);
    const auto low = node.knob<float>("Setting.Temperature.LowCriticalThreshold", -1000);
    node.show("Status.TemperatureTooHigh", [&heat, high] { return heat.celsius() > high.get(); });
    node.show("Status.TemperatureTooLow", [&heat, low] { return heat.celsius() < low.get(); });
    node.show("Status.TemperatureOutOfRange",
              [&heat, high, low] { return heat.celsius() > high.get() || heat.celsius() < low.get(); });
}

void publishEnvironment(const NodePoints& node) {
    const auto now = node.knob<float>("Measure.Temperature", 0);
    if (!now.exists()) {
        return;
    }
    const auto high = node.knob<float>("Setting.Temperature.HighWarningThreshold", 1000);
    const auto low = node.knob<float>("Setting.Temperature.LowCriticalThreshold", -1000);
    node.show("Status.TemperatureTooHigh", [now, high] { return now.get() > high.get(); });
    node.show("Status.TemperatureTooLow", [now, low] { return now.get() < low.get(); });
    node.show("Status.TemperatureOutOfRange",
              [now, high, low] { return now.get() > high.get() || now.get() < low.get(); });
}

} // namespace velk::simulator
