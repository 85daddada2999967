// The states of the battery and its charger.

#include "plugins/nut/Decoders.h"
#include "plugins/nut/Derived.h"
#include "plugins/nut/DeviceShape.h"
#include "plugins/nut/StatusWords.h"
#include "plugins/nut/Texts.h"
#include "plugins/nut/VariableWrapper.h"
#include "powerdistribution/core/ValueEnums.h"

#include <string>

namespace velk::nut {

using powerdistribution::ChargerStatus;
using powerdistribution::StoragePresent;
using powerdistribution::Type;

namespace {

template <typename E>
Value stateOf(E member) {
    return static_cast<std::uint32_t>(member);
}

} // namespace

Value bankSupply(const Snapshot& snapshot, const PathIndices& /*indices*/) {
    const StatusWords status{snapshot.variables};
    return status.isKnown() ? Value{status.has("OB") && !status.has("OFF")} : Value{};
}

Value storagePresence(const Snapshot& snapshot, const PathIndices& /*indices*/) {
    return stateOf(hasBattery(snapshot) ? StoragePresent::Present : StoragePresent::NoStorageMode);
}

Value managementFailure(const Snapshot& /*snapshot*/, const PathIndices& /*indices*/) {
    // No variable tells of one. The number is there because the library asks for it to judge the bank.
    return std::uint32_t{0};
}

Value moduleSupply(const Snapshot& snapshot, const PathIndices& indices) {
    // A module counts as supplying while the device counts it, since it stands ready for the load. With false
    // the library would look at the mode of the device as if it were a yes or no, and report a failure on
    // every poll.
    return indices.circuit <= storageModuleCount(snapshot) ? Value{true} : Value{};
}

Value chargerStatus(const Snapshot& snapshot, const PathIndices& /*indices*/) {
    Value told = firstValue(snapshot, {"battery.charger.status"}, decodeChargerStatus);
    if (told.hasValue()) {
        return told;
    }
    const StatusWords status{snapshot.variables};
    if (!status.isKnown()) {
        return {};
    }
    if (status.has("CHRG")) {
        return stateOf(ChargerStatus::Charging);
    }
    if (status.has("DISCHRG")) {
        return stateOf(ChargerStatus::Discharging);
    }
    // Some devices count beyond the full charge, which is no measure to show but full.
    const std::string* charge = snapshot.find("battery.charge");
    const bool isFull = charge != nullptr && parseNumber(*charge).value_or(0) >= 100;
    return stateOf(isFull ? ChargerStatus::Floating : ChargerStatus::OnNotCharging);
}

Value stateOfCharge(const Snapshot& snapshot, const PathIndices& /*indices*/) {
    const Value charge = firstValue(snapshot, {"battery.charge"}, decodeCharge);
    return charge.hasValue() ? charge
                             : firstValue(snapshot, {"battery.charge.approx"}, decodeApproximateCharge);
}

Value installationDate(const Snapshot& snapshot, const PathIndices& /*indices*/) {
    // The day of manufacture is only a guess at it, so it does not stand in for a date that was not set.
    return firstValue(snapshot, {snapshot.has("battery.date") ? "battery.date" : "battery.mfr.date"},
                      decodeDate);
}

Value chargerSupply(const Snapshot& snapshot, const PathIndices& indices) {
    const Value status = chargerStatus(snapshot, indices);
    if (!status.hasValue()) {
        return {};
    }
    return status == stateOf(ChargerStatus::Charging) || status == stateOf(ChargerStatus::Floating);
}

Value testStatus(const Snapshot& snapshot, const PathIndices& /*indices*/) {
    const StatusWords status{snapshot.variables};
    const Value isRunning = firstValue(snapshot, {"ups.test.result", "battery.test.status"},
                                       [](const std::string& text) -> Value {
                                           return lowerCase(text).find("progress") != std::string::npos;
                                       });
    if (!status.isKnown() && !isRunning.hasValue()) {
        return {};
    }
    const bool isTesting = status.has("TEST") || status.has("CAL") || isRunning == Value{true};
    return static_cast<std::uint32_t>(isTesting ? 1 : 0);
}

Value batteryNeedsService(const Snapshot& snapshot, const PathIndices& /*indices*/) {
    const StatusWords status{snapshot.variables};
    const Value bad = firstValue(snapshot, {"battery.packs.bad"}, decodeSmallCount);
    if (!status.isKnown() && !bad.hasValue()) {
        return {};
    }
    return status.has("RB") || (bad.hasValue() && bad.get<std::uint32_t>() > 0);
}

Value storageType(const Snapshot& snapshot, const PathIndices& /*indices*/) {
    return hasBattery(snapshot) ? stateOf(Type::Batteries) : Value{};
}

} // namespace velk::nut
