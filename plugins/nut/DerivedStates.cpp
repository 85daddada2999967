// The states of the device as a whole and of its circuits.

#include "plugins/nut/Decoders.h"
#include "plugins/nut/Derived.h"
#include "plugins/nut/DeviceShape.h"
#include "plugins/nut/StatusWords.h"
#include "plugins/nut/Texts.h"
#include "plugins/nut/VariableWrapper.h"
#include "powerdistribution/core/ValueEnums.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velk::nut {

using powerdistribution::Mode;
using powerdistribution::Topology;

namespace {

Value modeOf(Mode mode) {
    return static_cast<std::uint32_t>(mode);
}

std::optional<float> numberIn(const Snapshot& snapshot, const std::vector<std::string>& variables) {
    const Value value = firstValue(snapshot, variables, decodeNumber);
    return value.hasValue() ? std::optional{value.get<float>()} : std::nullopt;
}

/// A circuit is fed when its voltage is above half of the nominal one. Where no nominal voltage is told, half
/// of 100 V counts, the lowest mains in use.
Value isFed(const Snapshot& snapshot, const std::vector<std::string>& voltages) {
    const auto voltage = numberIn(snapshot, voltages);
    if (!voltage) {
        return {};
    }
    const auto nominal = numberIn(snapshot, {"input.voltage.nominal", "output.voltage.nominal"});
    const float half = nominal && *nominal > 0 ? *nominal / 2 : 50.0F;
    return *voltage > half;
}

std::vector<std::string> prefixesOfInput(std::uint32_t number) {
    if (number == 1) {
        return {"input.1.", "input.", "input.L1-N.", "input.L1.", "ups.input."};
    }
    if (number == 2) {
        return {"input.2.", "input.bypass.", "input.bypass.L1-N.", "input.bypass.L1."};
    }
    return {"input." + std::to_string(number) + "."};
}

std::vector<std::string> withSuffix(std::vector<std::string> prefixes, std::string_view suffix) {
    for (std::string& prefix : prefixes) {
        prefix += suffix;
    }
    return prefixes;
}

Value inputModeOfSwitch(const Snapshot& snapshot) {
    const Value source = firstValue(snapshot, {"input.source"}, decodeSource);
    const Value preferred = firstValue(snapshot, {"input.source.preferred"}, decodeSource);
    if (!source.hasValue() || !preferred.hasValue()) {
        return {};
    }
    return modeOf(source == preferred ? Mode::OnPreferredSource : Mode::OnAlternateSource);
}

bool isOnBypass(const Snapshot& snapshot, const StatusWords& status) {
    const std::string* mode = snapshot.find("ups.mode");
    return status.has("BYPASS") || (mode != nullptr && lowerCase(*mode) == "bypass");
}

} // namespace

Compute statusWord(std::string_view word) {
    return [word](const Snapshot& snapshot, const PathIndices& /*indices*/) {
        return StatusWords{snapshot.variables}.valueOf(word);
    };
}

Compute counted(std::uint32_t (*count)(const Snapshot& snapshot)) {
    return [count](const Snapshot& snapshot, const PathIndices& /*indices*/) {
        const std::uint32_t number = count(snapshot);
        return number == 0 ? Value{} : Value{number};
    };
}

Compute countedPhases(std::string circuit) {
    return [circuit = std::move(circuit)](const Snapshot& snapshot, const PathIndices& /*indices*/) {
        const std::uint32_t number = phaseCount(snapshot, circuit);
        return number == 0 ? Value{} : Value{number};
    };
}

Value topology(const Snapshot& snapshot, const PathIndices& /*indices*/) {
    return firstValue(snapshot, {"ups.type", "ups.mode"}, decodeTopology);
}

Value operatingMode(const Snapshot& snapshot, const PathIndices& indices) {
    if (isTransferSwitch(snapshot)) {
        return inputModeOfSwitch(snapshot);
    }
    const StatusWords status{snapshot.variables};
    // The order decides where several words stand together, such as "OL OFF" or "OL OB".
    if (status.has("OFF")) {
        return modeOf(Mode::Off);
    }
    if (isOnBypass(snapshot, status)) {
        return modeOf(Mode::OnBypass);
    }
    static constexpr std::array<std::pair<std::string_view, Mode>, 5> MODES{
        {{"OB", Mode::OnBattery},
         {"BOOST", Mode::OnBoost},
         {"TRIM", Mode::OnBuck},
         {"HE", Mode::OnHighEfficiency},
         {"ECO", Mode::OnHighEfficiency}}};
    const auto* mode = std::find_if(MODES.begin(), MODES.end(),
                                    [&](const auto& candidate) { return status.has(candidate.first); });
    if (mode != MODES.end()) {
        return modeOf(mode->second);
    }
    if (!status.has("OL")) {
        return {};
    }
    const bool isOnline = topology(snapshot, indices) == Value{static_cast<std::uint32_t>(Topology::Online)};
    return modeOf(isOnline ? Mode::OnLine : Mode::OnLineInteractiveNormal);
}

Value shutdownImminent(const Snapshot& snapshot, const PathIndices& /*indices*/) {
    const StatusWords status{snapshot.variables};
    return status.isKnown() ? Value{status.has("FSD") || (status.has("OB") && status.has("LB"))} : Value{};
}

Value internalFailure(const Snapshot& snapshot, const PathIndices& /*indices*/) {
    const StatusWords status{snapshot.variables};
    if (!status.isKnown()) {
        return {};
    }
    const std::string* alarm = snapshot.find("ups.alarm");
    const std::string words = alarm == nullptr ? std::string{} : lowerCase(collapsed(*alarm));
    static constexpr std::array<std::string_view, 5> TOLD{"internal fail", "internal fault", "ups fault",
                                                          "hardware fault", "hardware fail"};
    return std::any_of(TOLD.begin(), TOLD.end(),
                       [&](std::string_view part) { return words.find(part) != std::string::npos; });
}

Value currentDate(const Snapshot& snapshot, const PathIndices& /*indices*/) {
    const std::string* date = snapshot.find("ups.date");
    const std::string* time = snapshot.find("ups.time");
    const auto day = date == nullptr ? std::nullopt : parseDate(*date);
    const auto seconds = time == nullptr ? std::optional<std::uint32_t>{0} : parseTimeOfDay(*time);
    return day && seconds ? Value{conv::UnixTime{day->toIntegralType() + *seconds}} : Value{};
}

Value inputSupplied(const Snapshot& snapshot, const PathIndices& indices) {
    const StatusWords status{snapshot.variables};
    const bool isMains = indices.circuit == 1 && !isTransferSwitch(snapshot);
    if (isMains && (status.has("OB") || status.has("OL"))) {
        return !status.has("OB");
    }
    const auto prefixes = prefixesOfInput(indices.circuit);
    Value fed = isFed(snapshot, withSuffix(prefixes, "voltage"));
    if (fed.hasValue()) {
        return fed;
    }
    // A voltage that is merely low still supplies; a critical one may be gone.
    Value low = firstValue(snapshot, withSuffix(prefixes, "voltage.status"), [](const std::string& text) {
        const Value known = decodeTooLow(text);
        return known.hasValue() ? Value{lowerCase(collapsed(text)) != "critical-low"} : Value{};
    });
    return low;
}

Value inputInRange(const Snapshot& snapshot, const PathIndices& indices) {
    const StatusWords status{snapshot.variables};
    const bool isMains = indices.circuit == 1 && !isTransferSwitch(snapshot);
    if (isMains && (status.has("OB") || status.has("OL"))) {
        return !status.has("OB");
    }
    const Value outOfRange = firstValue(
        snapshot, withSuffix(prefixesOfInput(indices.circuit), "voltage.status"), decodeOutOfRange);
    return outOfRange.hasValue() ? Value{!outOfRange.get<bool>()} : Value{};
}

Value outputSwitchedOn(const Snapshot& snapshot, const PathIndices& /*indices*/) {
    const StatusWords status{snapshot.variables};
    return status.isKnown() ? Value{!status.has("OFF")} : Value{};
}

Value outputSupply(const Snapshot& snapshot, const PathIndices& /*indices*/) {
    const StatusWords status{snapshot.variables};
    if (status.has("OFF")) {
        return false;
    }
    const bool isSupplying = status.has("OL") || status.has("OB") || isOnBypass(snapshot, status);
    if (isSupplying) {
        return true;
    }
    return isFed(snapshot, {"output.voltage", "output.L1-N.voltage", "output.L1.voltage",
                            "ups.output.voltage", "outlet.voltage", "input.voltage"});
}

Value delayBeforeSwitchOn(const Snapshot& snapshot, const PathIndices& /*indices*/) {
    Value none;
    for (const char* timer : {"ups.timer.start", "ups.timer.restart", "ups.timer.reboot"}) {
        Value delay = firstValue(snapshot, {timer}, decodeDelay);
        if (delay.hasValue() && delay.get<std::int32_t>() >= 0) {
            return delay;
        }
        if (delay.hasValue()) {
            none = std::move(delay);
        }
    }
    return none;
}

Value outletSupply(const Snapshot& snapshot, const PathIndices& indices) {
    const std::string prefix = indices.expand("outlet.#.");
    Value switchedOn = firstValue(snapshot, {prefix + "status"}, decodeBool);
    const Value output = outputSupply(snapshot, indices);
    if (switchedOn == Value{false} || output == Value{false}) {
        return false;
    }
    if (switchedOn.hasValue()) {
        return switchedOn;
    }
    const Value fed = isFed(snapshot, {prefix + "voltage"});
    return fed.hasValue() ? fed : output;
}

Value inverterSupply(const Snapshot& snapshot, const PathIndices& /*indices*/) {
    const StatusWords status{snapshot.variables};
    if (!status.isKnown()) {
        return {};
    }
    const bool isPassedBy =
        status.has("OFF") || isOnBypass(snapshot, status) || status.has("HE") || status.has("ECO");
    return !isPassedBy && (status.has("OL") || status.has("OB"));
}

Value regulatorSupply(const Snapshot& snapshot, const PathIndices& /*indices*/) {
    const StatusWords status{snapshot.variables};
    return status.isKnown() ? Value{status.has("BOOST") || status.has("TRIM")} : Value{};
}

} // namespace velk::nut
