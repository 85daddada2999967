#include "plugins/simulator/model/DevicePoints.h"

#include "plugins/simulator/model/LineInteractiveUps.h"
#include "plugins/simulator/model/Publishing.h"

#include <algorithm>
#include <stdexcept>

namespace velk::simulator {

namespace {

using powerdistribution::Mode;

constexpr double MODULE_WARMING = 22;   ///< above the surroundings at full load, in K
constexpr double MODULE_CONSTANT = 300; ///< in s
constexpr std::int32_t IMMINENT = 30;   ///< seconds before a switch-off

bool isGoingOff(const Plant& plant) {
    return std::any_of(plant.outputs.begin(), plant.outputs.end(),
                       [](const Output& output) { return output.relay.isGoingOff(); });
}

bool isComingBack(const Plant& plant) {
    return std::any_of(plant.outputs.begin(), plant.outputs.end(), [](const Output& output) {
        return output.relay.isGoingOn() || output.relay.awaitsRestart();
    });
}

bool isGoingOffSoon(const Plant& plant) {
    return std::any_of(plant.outputs.begin(), plant.outputs.end(), [](const Output& output) {
        return output.relay.isGoingOff() && output.relay.secondsToOff() <= IMMINENT;
    });
}

} // namespace

DevicePoints::DevicePoints(const DeviceDescription& described, PointTable& table, Plant& parts,
                           PowerPath& way, SimulatedClock& time, EventLog& events) :
    description{described},
    points{table},
    plant{parts},
    path{way},
    clock{time},
    log{events},
    ups{dynamic_cast<Ups*>(&way)},
    heat{described.ambient, MODULE_CONSTANT},
    since{described.start} {
    publishRoot();
    publishCollections();
    publishUps();
    publishLog();
    publishConnectivity();
    publishEnvironment({points, "Environment"});
}

void DevicePoints::publishRoot() {
    const NodePoints root{points, ""};
    root.show("Status.Mode", [this] { return static_cast<std::uint32_t>(path.mode()); });
    root.show("Status.Since", [this] { return since; });
    root.show("Identification.Attribute.CurrentDate", [this] { return clock.shown(); });
    points.act("PrivateAction.SetDate", [this](const Value& value) {
        const auto* date = value.getIf<conv::UnixTime>();
        return date != nullptr && (clock.setShown(*date), true);
    });
    points.act("PrivateAction.ExportKdp", [](const Value& value) { return value.holds<std::string>(); });
    if (plant.outputs.empty()) {
        return;
    }
    root.show("Status.ShutdownPending", [this] { return isGoingOff(plant); });
    root.show("Status.StartupPending", [this] { return isComingBack(plant); });
    if (const auto* transfer = dynamic_cast<TransferSwitch*>(&path); transfer != nullptr) {
        publishSource(root, *transfer);
    }
}

void DevicePoints::publishCount(const std::string& collection, std::size_t most) {
    if (most == 0) {
        return;
    }
    Count& count = counts[collection];
    count = {static_cast<std::uint32_t>(most), static_cast<std::uint32_t>(most)};
    NodePoints{points, collection}.show("Attribute.Count", [&count] { return count.now; });
}

void DevicePoints::publishCollections() {
    const NodePoints root{points, ""};
    publishCount("Inputs", plant.inputs.size());
    publishCount("Outputs", plant.outputs.size());
    publishCount("Branches", plant.branches.size());
    publishCount("Outlets", plant.outlets.size());
    const auto itemOf = [&](const char* name, std::size_t index) {
        return root.below(name).item(static_cast<std::uint32_t>(index + 1));
    };
    for (std::size_t index = 0; index < plant.inputs.size(); ++index) {
        publishCircuit(itemOf("Inputs", index), plant.inputs[index].circuit, description.start);
        publishInput(itemOf("Inputs", index), plant.inputs[index]);
    }
    for (std::size_t index = 0; index < plant.outputs.size(); ++index) {
        publishCircuit(itemOf("Outputs", index), plant.outputs[index].circuit, description.start);
        publishOutput(itemOf("Outputs", index), plant.outputs[index]);
    }
    for (std::size_t index = 0; index < plant.branches.size(); ++index) {
        publishCircuit(itemOf("Branches", index), plant.branches[index].circuit, description.start);
        publishBranch(itemOf("Branches", index), plant.branches[index]);
    }
    for (std::size_t index = 0; index < plant.outlets.size(); ++index) {
        publishCircuit(itemOf("Outlets", index), plant.outlets[index].circuit, description.start);
        publishOutlet(itemOf("Outlets", index), plant.outlets[index]);
    }
    for (const auto& [name, converter] : plant.converters) {
        publishConverter(root.below("PowerConverters").below(name), converter);
    }
}

void DevicePoints::publishUps() {
    const NodePoints root{points, ""};
    if (description.modules) {
        publishModules(root.below("PowerModules"), plant, *description.modules, heat);
    }
    if (ups == nullptr) {
        return;
    }
    publishCount("BackupSystem.PowerBank.Chargers", description.battery->chargers);
    publishCount("BackupSystem.PowerBank.StorageModules", description.battery->modules);
    publishBackup(root.below("BackupSystem"), plant, *ups, *description.battery,
                  [this] { return clock.now(); });
    root.show("Status.ShutdownImminent", [this] {
        const bool isShort = path.mode() == Mode::OnBattery && ups->remainingSeconds() < IMMINENT;
        return isShort || isGoingOffSoon(plant);
    });
    root.show("Status.ThermalOverload", [this] { return ups->isOverheated(); });
    root.below("Outputs.1").show("Measure.Efficiency", [this] {
        const double taken = plant.balance.input + plant.balance.discharging - plant.balance.charging;
        return taken > 0 ? 100 * plant.balance.output / taken : 0.0;
    });
    if (const Converter* regulator = plant.converter("Avr"); regulator != nullptr) {
        root.below("PowerConverters.Avr").show("Status.OnBoost", [this] {
            return path.mode() == Mode::OnBoost;
        });
        root.below("PowerConverters.Avr").show("Status.OnBuck", [this] {
            return path.mode() == Mode::OnBuck;
        });
    }
    if (auto* online = dynamic_cast<OnlineUps*>(ups); online != nullptr) {
        publishBypasses(root.below("PowerConverters"), *online);
    }
}

void DevicePoints::publishLog() {
    const std::string node = "Private.InternalLogs.";
    points.exchange(node + "Private.LogTopId", PointType::Uint32, [this] { return Value{log.topId()}; }, {});
    points.exchange(
        node + "Private.LogChunk", PointType::Log, [this] { return Value{log.chunkAfter(chunkStart)}; },
        [this](const Value& value) {
            const auto* id = value.getIf<std::uint32_t>();
            chunkStart = id != nullptr ? *id : chunkStart;
            return id != nullptr;
        });
}

void DevicePoints::publishConnectivity() {
    // What the host tells of itself comes back as an attribute of the connection.
    for (const auto& [action, attribute] : {std::pair{"SetIpv4Address", "Ipv4"},
                                            {"SetIpv6Address", "Ipv6"},
                                            {"SetMacAddress", "MacAddress"},
                                            {"SetFirmwareVersion", "FirmwareVersion"},
                                            {"SetProductName", "ProductName"}}) {
        const std::string node = "Connectivity";
        std::string& fact = toldFacts[attribute];
        points.act(node + ".PrivateAction." + action, [&fact](const Value& value) {
            const auto* text = value.getIf<std::string>();
            fact = text != nullptr ? *text : fact;
            return text != nullptr;
        });
        NodePoints{points, node}.show(std::string{"Attribute."} + attribute,
                                      [&fact] { return fact.empty() ? std::nullopt : std::optional{fact}; });
    }
}

void DevicePoints::step(double seconds) {
    if (path.mode() != lastMode) {
        lastMode = path.mode();
        since = clock.now();
    }
    if (!plant.outputs.empty()) {
        const double load = std::min(plant.outputs.front().circuit.percentLoad(), 150.0) / 100;
        heat.step(seconds, surroundings.get() + MODULE_WARMING * load);
    }
}

void DevicePoints::watch(EventWatch& events) const {
    using Severity = EventWatch::Severity;
    std::uint16_t number = 100;
    for (const Input& input : plant.inputs) {
        events.watch(++number, Severity::Warning, [&input] { return !input.isAccepted(); });
    }
    if (ups != nullptr) {
        const PointTable& table = points;
        const auto holds = [&table](const std::string& name) {
            return [&table, name] { return table.read(name) == Value{true}; };
        };
        events.watch(1, Severity::Warning, holds("BackupSystem.PowerBank.Status.Supply"));
        events.watch(2, Severity::Critical, holds("BackupSystem.PowerBank.Status.LowStateOfCharge"));
        events.watch(3, Severity::Critical, holds("BackupSystem.PowerBank.Status.Depleted"));
        events.watch(4, Severity::Critical, holds("Outputs.1.Status.Overload"));
        events.watch(5, Severity::Information, [this] { return plant.test->isRunning(); });
        events.watch(6, Severity::Critical, [this] { return plant.battery->isFailed(); });
        events.watch(7, Severity::Critical, [this] { return !plant.battery->isPresent(); });
        events.watch(8, Severity::Critical, [this] { return path.mode() == Mode::Off; });
        events.watch(9, Severity::Warning, [this] { return path.mode() == Mode::OnForcedBypass; });
        events.watch(10, Severity::Warning, [this] { return path.mode() == Mode::OnAutomaticBypass; });
    }
    number = 200;
    for (const Branch& branch : plant.branches) {
        events.watch(++number, Severity::Critical, [&branch] { return branch.isTripped(); });
    }
    number = 300;
    for (const Outlet& outlet : plant.outlets) {
        events.watch(++number, Severity::Information, [&outlet] { return !outlet.relay.isOn(); });
    }
}

void DevicePoints::setCounts(const std::map<std::string, std::uint32_t>& wanted) {
    std::map<std::string, Count> changed = counts;
    for (const auto& [name, number] : wanted) {
        const bool isBanks = name == "Chargers" || name == "StorageModules";
        const auto found = changed.find(isBanks ? "BackupSystem.PowerBank." + name : name);
        if (found == changed.end()) {
            throw std::invalid_argument{"counts: this device has no \"" + name + "\""};
        }
        if (number > found->second.most) {
            throw std::invalid_argument{"counts: " + name + " " + std::to_string(number) +
                                        ": expected 0 to " + std::to_string(found->second.most)};
        }
        found->second.now = number;
    }
    for (auto& [name, count] : counts) {
        count.now = changed.at(name).now;
    }
    applyCounts();
    points.restrict([this](const std::string& name) { return isThere(name); });
}

void DevicePoints::applyCounts() {
    for (std::size_t index = 0; index < plant.inputs.size(); ++index) {
        plant.inputs[index].setPresent(index < counts.at("Inputs").now);
    }
    for (std::size_t index = 0; index < plant.outlets.size(); ++index) {
        plant.outlets[index].present = index < counts.at("Outlets").now;
    }
    for (std::size_t index = 0; index < plant.outputs.size(); ++index) {
        plant.outputs[index].present = index < counts.at("Outputs").now;
    }
    for (std::size_t index = 0; index < plant.branches.size(); ++index) {
        plant.branches[index].present = index < counts.at("Branches").now;
    }
    if (plant.battery) {
        plant.battery->setModules(counts.at("BackupSystem.PowerBank.StorageModules").now);
        const Count chargers = counts.at("BackupSystem.PowerBank.Chargers");
        plant.charger->setShare(static_cast<double>(chargers.now) / chargers.most);
    }
}

bool DevicePoints::isThere(const std::string& name) const {
    return std::all_of(counts.begin(), counts.end(), [&](const auto& entry) {
        const std::string prefix = entry.first + ".";
        if (!name.starts_with(prefix)) {
            return true;
        }
        const std::size_t begin = prefix.size();
        const auto index = indexOf(name.substr(begin, name.find('.', begin) - begin));
        return !index || *index <= entry.second.now;
    });
}

} // namespace velk::simulator
