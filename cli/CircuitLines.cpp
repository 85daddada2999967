#include "cli/FigureText.h"
#include "cli/LineBuilder.h"
#include "cli/PathLines.h"

#include <algorithm>
#include <array>
#include <cmath>

// Sources, outputs, branches and outlets.

namespace velk::cli {

namespace {

using Tone = PathLine::Tone;

struct CircuitWord {
    const char* flag;
    const char* text;
};

/// What can be wrong with a source, the most telling first.
constexpr auto sourceFaults = std::to_array<CircuitWord>({
    {"Status.VoltageTooLow", "voltage too low"},
    {"Status.VoltageTooHigh", "voltage too high"},
    {"Status.VoltageOutOfRange", "voltage out of range"},
    {"Status.FrequencyOutOfRange", "frequency out of range"},
    {"Status.PhaseOutOfRange", "out of phase"},
    {"Status.InvalidWaveform", "distorted"},
    {"Status.WiringFault", "wiring fault"},
});

constexpr auto loadFaults = std::to_array<CircuitWord>({
    {"Status.ShortCircuit", "short circuit"},
    {"Status.CriticalOverload", "critical overload"},
    {"Status.Overload", "overload"},
    {"Status.PreOverload", "close to overload"},
    {"Status.OverCurrent", "overcurrent"},
    {"Status.CurrentTooHigh", "current too high"},
});

constexpr double EQUAL_WITHIN = 0.01; ///< phases that differ by less are said as one

/// "3 x 230 V" for phases that agree, "229/235/230 V" for others; of a part with one phase or none that of
/// the part itself.
std::optional<std::string> voltageOf(PartReader& part, LineBuilder& line) {
    std::vector<double> volts;
    for (PartReader& phase : part.items("Phases")) {
        if (const std::optional<double> voltage = phase.number("Measure.Voltage")) {
            volts.push_back(*voltage);
        }
        line.use(phase);
    }
    if (volts.size() < 2) {
        return part.figure("Measure.Voltage");
    }
    const auto [least, most] = std::minmax_element(volts.begin(), volts.end());
    if (*most - *least <= std::abs(*most) * EQUAL_WITHIN) {
        return std::to_string(volts.size()) + " x " + figureText(volts.front(), "V");
    }
    std::string text;
    for (const double voltage : volts) {
        text += (text.empty() ? "" : "/") + figureText(voltage, "");
    }
    return text + " V";
}

/// "L1 47 %, L2 46 %": the load of each phase, of a part that has several and tells it of all.
std::optional<std::string> phaseLoads(PartReader& part, LineBuilder& line, const char* measure) {
    std::string text;
    std::vector<PartReader> phases = part.items("Phases");
    for (std::size_t i = 0; i < phases.size(); ++i) {
        const std::optional<std::string> load = phases[i].figure(measure);
        if (!load || phases.size() < 2) {
            return std::nullopt;
        }
        text += (text.empty() ? "L" : ", L") + std::to_string(i + 1) + " " + *load;
        line.use(phases[i]);
    }
    return text.empty() ? std::nullopt : std::optional{text};
}

std::string faultOf(PartReader& input) {
    for (const CircuitWord& fault : sourceFaults) {
        if (input.isTrue(fault.flag)) {
            return fault.text;
        }
    }
    return "";
}

void sayTolerance(PartReader& input, LineBuilder& line) {
    const std::string fault = faultOf(input);
    const std::optional<bool> inRange = input.flag("Status.InRange");
    if (inRange.value_or(true) && !fault.empty()) {
        line.say(fault, Tone::Bad);
    } else if (inRange && !*inRange) {
        line.say(fault.empty() ? "out of tolerance" : "out of tolerance (" + fault + ")", Tone::Bad);
    } else if (inRange) {
        line.say("in tolerance", Tone::Good);
    }
}

/// "on" or "off"; empty when nothing says it.
std::optional<bool> isOn(PartReader& part) {
    const std::optional<bool> switchedOn = part.flag("Status.SwitchedOn");
    return switchedOn ? switchedOn : part.flag("Status.Supply");
}

void sayLoad(PartReader& part, LineBuilder& line) {
    line.sayKnown(part.figure("Measure.ActivePower"));
    line.sayKnown(part.figure("Measure.ApparentPower"));
    line.sayKnown(part.figure("Measure.PercentLoad"), " load");
}

void sayFaults(PartReader& part, LineBuilder& line) {
    for (const CircuitWord& fault : loadFaults) {
        line.sayIf(part, fault.flag, fault.text);
    }
}

void sayDelay(PartReader& part, LineBuilder& line, const char* status, const char* words) {
    const std::optional<double> delay = part.number(status);
    if (delay && *delay >= 0.0) {
        line.say(words + durationText(static_cast<std::int64_t>(*delay)), Tone::Bad);
    }
}

} // namespace

PathLine sourceLine(PartReader input, const std::string& name) {
    LineBuilder line{name, input.path()};
    line.sayKnown(voltageOf(input, line));
    line.sayKnown(input.figure("Measure.Frequency"));
    sayTolerance(input, line);
    if (input.isTrue("Status.OnGenerator")) {
        line.say("from a generator");
    }
    if (const std::optional<bool> used = input.flag("Status.Used")) {
        line.say(*used ? "in use" : "not in use");
    }
    const std::optional<double> power = input.number("Measure.ActivePower");
    if (power && *power != 0.0) {
        line.sayKnown(input.figure("Measure.ActivePower"));
    }
    line.use(input);
    return line.finish();
}

PathLine outputLine(PartReader output, const std::string& name) {
    LineBuilder line{name, output.path()};
    if (isOn(output) == std::optional{false}) {
        line.say("off", Tone::Bad);
    }
    line.sayKnown(voltageOf(output, line));
    line.sayKnown(output.figure("Measure.Frequency"));
    sayLoad(output, line);
    line.sayKnown(phaseLoads(output, line, "Measure.PercentLoad"));
    sayFaults(output, line);
    sayDelay(output, line, "Status.DelayBeforeSwitchOff", "switches off in ");
    sayDelay(output, line, "Status.DelayBeforeSwitchOn", "switches on in ");
    line.use(output);
    return line.finish();
}

PathLine branchLine(PartReader branch, const std::string& name) {
    LineBuilder line{name, branch.path()};
    if (branch.isTrue("Status.BreakerTripped")) {
        line.say("tripped", Tone::Bad);
    } else if (const std::optional<bool> on = isOn(branch)) {
        line.say(*on ? "on" : "off");
    }
    line.sayKnown(voltageOf(branch, line));
    line.sayKnown(branch.figure("Measure.Current"));
    line.sayKnown(branch.figure("Measure.ActivePower"));
    line.sayKnown(branch.figure("Measure.PercentLoad"), " load");
    sayFaults(branch, line);
    line.use(branch);
    return line.finish();
}

PathLine outletsLine(const PartReader& device) {
    LineBuilder line{"", "Outlets"};
    std::vector<PartReader> outlets = device.items("Outlets");
    std::size_t on = 0;
    std::vector<std::string> off;
    double watts = 0.0;
    bool allMeasured = true;
    for (PartReader& outlet : outlets) {
        const std::optional<bool> state = isOn(outlet);
        const std::optional<double> power = outlet.number("Measure.ActivePower");
        on += state.value_or(false) ? 1 : 0;
        if (state && !*state) {
            off.push_back(outlet.path().substr(outlet.path().rfind('.') + 1));
        }
        watts += power.value_or(0.0);
        allMeasured = allMeasured && power;
        line.use(outlet);
    }
    if (outlets.empty() || (on == 0 && off.empty() && !allMeasured)) {
        return {};
    }
    const std::size_t unknown = outlets.size() - on - off.size();
    if (unknown != outlets.size()) {
        line.say(std::to_string(on) + " on");
        std::string names;
        for (std::size_t i = 0; i < off.size() && i < 12; ++i) {
            names += (names.empty() ? "" : " ") + off[i];
        }
        names += off.size() > 12 ? " …" : "";
        line.say(std::to_string(off.size()) + " off" + (off.empty() ? "" : " (" + names + ")"));
    }
    if (unknown != 0) {
        line.say(std::to_string(unknown) + " not known to be on or off");
    }
    if (allMeasured) {
        line.say(figureText(watts, "W") + " together");
    }
    return line.finish();
}

PathLine environmentLine(const PartReader& device) {
    PartReader environment = device.below("Environment");
    LineBuilder line{"", environment.path()};
    line.sayKnown(environment.figure("Measure.Temperature"));
    line.sayIf(environment, "Status.TemperatureTooHigh", "too warm");
    line.sayIf(environment, "Status.TemperatureTooLow", "too cold");
    line.use(environment);
    return line.finish();
}

} // namespace velk::cli
