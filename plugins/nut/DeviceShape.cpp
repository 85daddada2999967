#include "plugins/nut/DeviceShape.h"

#include "plugins/nut/StatusWords.h"
#include "plugins/nut/Texts.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string>

namespace velk::nut {

namespace {

bool startsWith(std::string_view text, std::string_view begin) {
    return text.substr(0, begin.size()) == begin;
}

std::optional<std::uint32_t> countIn(const Snapshot& snapshot, std::string_view variable,
                                     std::uint32_t most) {
    const std::string* text = snapshot.find(variable);
    return text == nullptr ? std::nullopt : parseCount(*text, most);
}

/// The largest number that stands behind `prefix` in a variable's name, with one of `ends` behind it.
std::uint32_t highestIndex(const Snapshot& snapshot, std::string_view prefix, std::string_view ends) {
    std::uint32_t highest = 0;
    for (auto entry = snapshot.variables.lower_bound(prefix);
         entry != snapshot.variables.end() && startsWith(entry->first, prefix); ++entry) {
        const char* const end = entry->first.data() + entry->first.size();
        std::uint32_t index = 0;
        const auto [stop, error] = std::from_chars(entry->first.data() + prefix.size(), end, index);
        const bool isIndex =
            error == std::errc{} && stop != end && ends.find(*stop) != std::string_view::npos;
        if (isIndex && index <= MOST_CIRCUITS) {
            highest = std::max(highest, index);
        }
    }
    return highest;
}

/// The count that the device gives, or the highest index of its variables.
std::uint32_t countOf(const Snapshot& snapshot, std::string_view count, std::string_view prefix) {
    const auto given = countIn(snapshot, count, MOST_CIRCUITS);
    return given && *given > 0 ? *given : highestIndex(snapshot, prefix, ".");
}

std::string deviceType(const Snapshot& snapshot) {
    const std::string* type = snapshot.find("device.type");
    return type == nullptr ? std::string{} : lowerCase(collapsed(*type));
}

bool isNumberedSource(const Snapshot& snapshot, std::string_view variable) {
    const std::string* text = snapshot.find(variable);
    return text != nullptr && parseCount(*text, 2).value_or(0) > 0;
}

} // namespace

bool hasAnyOf(const Snapshot& snapshot, std::string_view prefix) {
    const auto entry = snapshot.variables.lower_bound(prefix);
    return entry != snapshot.variables.end() && startsWith(entry->first, prefix);
}

std::uint32_t inputCount(const Snapshot& snapshot) {
    const std::uint32_t given = countOf(snapshot, "input.count", "input.");
    const std::uint32_t least = hasAnyOf(snapshot, "input.bypass.") ? 2 : 1;
    return std::max(given, least);
}

std::uint32_t outputCount(const Snapshot& snapshot) {
    const bool isDistribution = deviceType(snapshot) == "pdu";
    const bool hasSum = snapshot.has("outlet.voltage") || snapshot.has("outlet.current") ||
                        snapshot.has("outlet.power") || snapshot.has("outlet.realpower");
    return !isDistribution || hasSum || hasAnyOf(snapshot, "output.") ? 1 : 0;
}

std::uint32_t outletCount(const Snapshot& snapshot) {
    return countOf(snapshot, "outlet.count", "outlet.");
}

std::uint32_t branchCount(const Snapshot& snapshot) {
    return countOf(snapshot, "outlet.group.count", "outlet.group.");
}

std::uint32_t phaseCount(const Snapshot& snapshot, std::string_view circuit) {
    constexpr std::uint32_t MOST_PHASES = 3;
    const std::string prefix{circuit};
    const auto given = countIn(snapshot, prefix + "phases", MOST_PHASES);
    // Without data of its own a phase would be a part of the tree with nothing in it.
    const std::uint32_t known = highestIndex(snapshot, prefix + "L", ".-");
    return std::min(known, given && *given > 0 ? *given : MOST_PHASES);
}

std::uint32_t storageModuleCount(const Snapshot& snapshot) {
    return countIn(snapshot, "battery.packs", MOST_CIRCUITS).value_or(0);
}

std::uint32_t chargerCount(const Snapshot& snapshot) {
    return hasBattery(snapshot) ? 1 : 0;
}

bool hasOutput(const Snapshot& snapshot) {
    return outputCount(snapshot) > 0;
}

bool isTransferSwitch(const Snapshot& snapshot) {
    return deviceType(snapshot) == "ats" || isNumberedSource(snapshot, "input.source");
}

bool hasBattery(const Snapshot& snapshot) {
    const std::string type = deviceType(snapshot);
    if (type == "ats" || type == "pdu") {
        return false;
    }
    return type == "ups" || hasAnyOf(snapshot, "battery.") || StatusWords{snapshot.variables}.isKnown();
}

bool hasEnvironment(const Snapshot& snapshot) {
    return snapshot.has("ambient.temperature") || snapshot.has("ambient.1.temperature") ||
           snapshot.has("ambient.present") || snapshot.has("ambient.1.present") ||
           hasAnyOf(snapshot, "ambient.contacts.") || hasAnyOf(snapshot, "ambient.1.contacts.");
}

bool hasPowerModules(const Snapshot& snapshot) {
    return hasAnyOf(snapshot, "ups.temperature");
}

bool hasVoltageRegulator(const Snapshot& snapshot) {
    const StatusWords status{snapshot.variables};
    return hasAnyOf(snapshot, "input.transfer.boost.") || hasAnyOf(snapshot, "input.transfer.trim.") ||
           status.has("BOOST") || status.has("TRIM");
}

bool hasAutomaticBypass(const Snapshot& snapshot) {
    return hasAnyOf(snapshot, "output.bypass.") || hasAnyOf(snapshot, "input.bypass.") ||
           snapshot.capabilities->canRun("bypass.start") || snapshot.capabilities->canRun("bypass.stop") ||
           StatusWords{snapshot.variables}.has("BYPASS");
}

bool hasInverter(const Snapshot& snapshot) {
    return hasAnyOf(snapshot, "output.inverter.");
}

bool hasConverters(const Snapshot& snapshot) {
    return hasVoltageRegulator(snapshot) || hasAutomaticBypass(snapshot) || hasInverter(snapshot) ||
           isTransferSwitch(snapshot);
}

} // namespace velk::nut
