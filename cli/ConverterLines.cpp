#include "cli/FigureText.h"
#include "cli/LineBuilder.h"
#include "cli/PathLines.h"

#include <array>
#include <cmath>

// What stands between sources and outputs: selection, converters, modules, battery.

namespace velk::cli {

namespace {

using Tone = PathLine::Tone;

constexpr double IN_SERVICE = 16.0;
constexpr double NO_STORAGE_MODE = 3.0;

struct ConverterWord {
    const char* flag;
    const char* text;
};

constexpr auto converterFaults = std::to_array<ConverterWord>({
    {"Status.InternalFailure", "failed"},
    {"Status.FanFault", "fan failed"},
    {"Status.FuseFault", "fuse blown"},
    {"Status.CurrentLimitation", "limits its current"},
    {"Status.ThermalOverload", "too warm"},
    {"Status.DcBusUnbalanced", "unbalanced"},
});

constexpr auto batteryFaults = std::to_array<ConverterWord>({
    {"Status.Depleted", "empty"},
    {"Status.CriticalLowStateOfCharge", "charge critically low"},
    {"Status.LowStateOfCharge", "charge low"},
    {"Status.LowRuntime", "time left is short"},
    {"Status.LowStateOfHealth", "worn out"},
    {"Status.NeedService", "needs service"},
    {"Status.GroundFault", "ground fault"},
    {"Status.TemperatureTooHigh", "too warm"},
});

std::string sourceText(double number) {
    return "source " + figureText(number, "");
}

/// The number of the source that feeds the load, by whoever says it.
std::optional<double> selectedSource(PartReader& device, LineBuilder& line) {
    PartReader transfer = device.below("PowerConverters.TransferSwitch");
    const std::optional<double> told = transfer.number("Status.Source");
    line.use(transfer);
    if (told) {
        return told;
    }
    std::optional<double> used;
    for (PartReader& input : device.items("Inputs")) {
        if (!input.isTrue("Status.Used")) {
            continue;
        }
        if (used) {
            return std::nullopt; // both: none of them has been selected
        }
        used = std::stod(input.path().substr(input.path().rfind('.') + 1));
        line.use(input);
    }
    return used;
}

/// Why the load is fed by `selected`, as far as preference and tolerance tell.
void sayWhy(PartReader& device, LineBuilder& line, double selected) {
    const std::optional<double> preferred = device.number("Setting.PreferredSource");
    if (!preferred) {
        return;
    }
    if (*preferred == selected) {
        line.say("the preferred one", Tone::Good);
        return;
    }
    PartReader input = device.below("Inputs." + figureText(*preferred, ""));
    const bool bad = input.isFalse("Status.InRange") || input.isFalse("Status.Supply");
    line.say(sourceText(*preferred) + " is preferred" + (bad ? " but not in tolerance" : ""), Tone::Bad);
    line.use(input);
}

/// "4 of 4 modules in service"; nothing when not all tell, or the status of one is unknown.
void sayInService(std::vector<PartReader> parts, LineBuilder& line, const std::string& what) {
    std::size_t inService = 0;
    for (PartReader& part : parts) {
        const std::optional<double> status = part.number("Status.OperatingStatus");
        if (!status || *status == 0.0) {
            return;
        }
        inService += *status == IN_SERVICE ? 1 : 0;
    }
    if (parts.empty()) {
        return;
    }
    for (const PartReader& part : parts) {
        line.use(part);
    }
    line.say(std::to_string(inService) + " of " + std::to_string(parts.size()) + " " + what + " in service",
             inService == parts.size() ? Tone::Plain : Tone::Bad);
}

/// What the battery does; its charger says it as long as it gives no power.
void sayActivity(PartReader& bank, LineBuilder& line) {
    if (bank.isTrue("Status.Supply")) {
        line.say("discharging", Tone::Bad);
        return;
    }
    std::optional<std::string> charger = bank.state("Status.ChargerStatus");
    if (!charger) {
        for (PartReader& one : bank.items("Chargers")) {
            charger = one.state("Status.ChargerStatus");
            line.use(one);
            if (charger) {
                break;
            }
        }
    }
    if (charger) {
        const bool speaksOfCharger = *charger == "off" || *charger == "on not charging";
        line.say(speaksOfCharger ? "charger " + *charger : *charger);
    }
}

void sayTimeLeft(PartReader& bank, LineBuilder& line) {
    const std::optional<double> left = bank.number("Measure.RemainingTime");
    if (left && *left >= 0.0) {
        const std::string time = durationText(static_cast<std::int64_t>(*left));
        line.say(bank.isTrue("Status.Supply") ? time + " left" : "lasts " + time);
    }
}

void sayTest(PartReader& bank, LineBuilder& line) {
    if (bank.number("Status.TestStatus") == std::optional{1.0}) {
        line.say("test in progress");
        return;
    }
    const std::optional<std::string> result = bank.state("Status.LastTestResult");
    const bool ran = bank.number("Status.LastTestResult").value_or(0.0) != 0.0;
    if (!result || !ran) {
        return;
    }
    const std::optional<std::string> day = bank.day("Status.LastTestResultDate");
    line.say("last test: " + *result + (day ? " on " + *day : ""),
             *result == "fail" ? Tone::Bad : Tone::Plain);
}

/// A bank of which nothing is known but that it could be there is none.
bool isThere(PartReader& bank) {
    return bank.number("Measure.StateOfCharge") || bank.number("Measure.RemainingTime") ||
           bank.number("Measure.Voltage") || bank.number("Status.StoragePresent");
}

} // namespace

PathLine selectionLine(PartReader device) {
    LineBuilder line{"", "PowerConverters.TransferSwitch"};
    const double mode = device.number("Status.Mode").value_or(0.0);
    const bool byMode = mode == 15.0 || mode == 16.0; // on preferred, on alternate source
    PartReader transfer = device.below("PowerConverters.TransferSwitch");
    if (!byMode && !transfer.number("Status.Source") && !device.number("Setting.PreferredSource")) {
        return {};
    }
    if (const std::optional<double> selected = selectedSource(device, line)) {
        line.say(sourceText(*selected) + " selected");
        sayWhy(device, line, *selected);
    } else if (byMode) {
        line.sayKnown(device.state("Status.Mode"));
    }
    line.use(device);
    return line.finish();
}

PathLine converterLine(PartReader converter, const std::string& name) {
    LineBuilder line{name, converter.path()};
    if (const std::optional<std::string> status = converter.state("Status.OperatingStatus")) {
        line.say(*status);
    } else if (const std::optional<bool> supply = converter.flag("Status.Supply")) {
        line.say(*supply ? "supplying" : "not supplying");
    }
    if (converter.isTrue("Status.OnBoost")) {
        line.say("raises a low voltage");
    }
    if (converter.isTrue("Status.OnBuck")) {
        line.say("lowers a high voltage");
    }
    if (converter.number("Measure.ActivePower").value_or(0.0) != 0.0) {
        line.sayKnown(converter.figure("Measure.ActivePower"));
        line.sayKnown(converter.figure("Measure.PercentLoad"), " load");
    }
    for (const ConverterWord& fault : converterFaults) {
        line.sayIf(converter, fault.flag, fault.text);
    }
    line.use(converter);
    return line.finish();
}

PathLine modulesLine(const PartReader& device) {
    PartReader modules = device.below("PowerModules");
    LineBuilder line{"Power modules", modules.path()};
    if (const std::optional<double> count = modules.number("Attribute.Count")) {
        line.say(figureText(*count, "") + (*count == 1.0 ? " module" : " modules"));
    }
    if (modules.isTrue("Status.RedundancyLoss")) {
        line.say("redundancy lost", Tone::Bad);
    } else if (const std::optional<bool> redundant = modules.flag("Status.Redundant")) {
        line.say(*redundant ? "redundant" : "not redundant");
    }
    const std::optional<double> level = modules.number("Setting.RedundancyLevel");
    if (level && *level > 0.0) {
        line.say(figureText(*level, "") + " may fail");
    }
    line.sayIf(modules, "Status.InternalFailure", "a module has failed");
    line.sayIf(modules, "Status.PowerSupplyFault", "a power supply has failed");
    line.sayIf(modules, "Status.FanFault", "a fan has failed");
    line.use(modules);
    return line.finish();
}

PathLine batteryLine(const PartReader& device) {
    PartReader bank = device.below("BackupSystem.PowerBank");
    LineBuilder line{"", bank.path()};
    if (!isThere(bank)) {
        return {};
    }
    const double present = bank.number("Status.StoragePresent").value_or(1.0);
    const bool couldHaveOne =
        device.below("PowerConverters.Inverter").number("Status.OperatingStatus").has_value();
    if (present == NO_STORAGE_MODE && !couldHaveOne) {
        return {}; // a device that never had a battery is not without one
    }
    if (present != 1.0) {
        line.sayKnown(bank.state("Status.StoragePresent"));
        line.use(bank);
        return line.finish();
    }
    line.sayKnown(bank.figure("Measure.StateOfCharge"));
    sayActivity(bank, line);
    sayTimeLeft(bank, line);
    line.sayKnown(bank.figure("Measure.Voltage"));
    line.sayKnown(bank.figure("Measure.Temperature"));
    for (const ConverterWord& fault : batteryFaults) {
        line.sayIf(bank, fault.flag, fault.text);
    }
    sayTest(bank, line);
    sayInService(bank.items("StorageModules"), line, "modules");
    line.use(bank);
    return line.finish();
}

} // namespace velk::cli
