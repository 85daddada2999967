#include "plugins/simulator/model/Plant.h"

namespace velk::simulator {

namespace {

constexpr double DC_BUS_VOLTAGE = 800;

/// What the converters of that name give.
Circuit circuitOf(const std::string& name, const DeviceDescription& description) {
    if (name == "DcBus" || name == "Rectifier") {
        Rating direct = description.outputs.front().rating;
        direct.current = direct.activePower / DC_BUS_VOLTAGE;
        direct.voltage = DC_BUS_VOLTAGE;
        return {direct, 1};
    }
    return {description.outputs.front().rating, description.outputs.front().phases};
}

} // namespace

Plant::Plant(const DeviceDescription& description) {
    for (const auto& input : description.inputs) {
        inputs.emplace_back(input);
    }
    for (const auto& output : description.outputs) {
        outputs.emplace_back(output);
    }
    for (const auto& branch : description.branches) {
        branches.emplace_back(branch);
    }
    for (const auto& outlet : description.outlets) {
        outlets.emplace_back(outlet);
    }
    for (const auto& name : description.converters) {
        converters.emplace(name, Converter{circuitOf(name, description)});
    }
    if (description.battery) {
        battery.emplace(*description.battery, description.battery->temperature);
        charger.emplace(description.battery->chargePower);
        test.emplace(description.battery->testSeconds);
    }
    atBranches.resize(branches.size());
}

void Plant::attach(const PointTable& points) {
    for (std::size_t index = 0; index < inputs.size(); ++index) {
        inputs[index].attach(points, "Inputs." + std::to_string(index + 1));
    }
    for (std::size_t index = 0; index < outputs.size(); ++index) {
        outputs[index].relay.attach(points, "Outputs." + std::to_string(index + 1));
    }
    for (std::size_t index = 0; index < outlets.size(); ++index) {
        outlets[index].relay.attach(points, "Outlets." + std::to_string(index + 1));
    }
}

Converter* Plant::converter(std::string_view name) {
    const auto found = converters.find(name);
    return found == converters.end() ? nullptr : &found->second;
}

bool Plant::isFirstOutputOn() const {
    return outputs.empty() || (outputs.front().present && outputs.front().relay.isOn());
}

bool Plant::isConnected(const Outlet& outlet) const {
    const bool isFed = outlet.branch == 0 ? isFirstOutputOn() : branches[outlet.branch - 1].isClosed();
    return isFed && outlet.present && outlet.relay.isOn();
}

PhasePowers Plant::demand() const {
    PhasePowers wanted{};
    for (const Output& output : outputs) {
        if (output.present && output.relay.isOn()) {
            for (std::uint32_t phase = 0; phase < output.circuit.phases(); ++phase) {
                wanted[phase] += output.terminals[phase].power(loadRipple);
            }
        }
    }
    for (const Outlet& outlet : outlets) {
        if (isConnected(outlet)) {
            wanted[outlet.phase] += outlet.load.power(loadRipple);
        }
    }
    return wanted;
}

PhasePowers Plant::feed(const Feed& feed) {
    feedOutlets(feed);
    feedBranches(feed);
    feedOutputs(feed);
    PhasePowers drawn{};
    for (const Output& output : outputs) {
        for (std::uint32_t phase = 0; phase < output.circuit.phases(); ++phase) {
            drawn[phase] += output.circuit.phase(phase).power;
        }
    }
    for (const Branch& branch : branches) {
        drawn[branch.phase] += branch.circuit.power();
    }
    if (outputs.empty()) {
        for (std::uint32_t phase = 0; phase < MOST_PHASES; ++phase) {
            drawn[phase] += atFirstOutput[phase];
        }
    }
    return drawn;
}

void Plant::feedOutlets(const Feed& feed) {
    atFirstOutput = {};
    atBranches.assign(branches.size(), Power{});
    for (Outlet& outlet : outlets) {
        const double volts = isConnected(outlet) ? feed.voltage[outlet.phase] : 0;
        const Power power = volts > 0 ? outlet.load.power(loadRipple) : Power{};
        outlet.circuit.carry(0, volts, power);
        outlet.circuit.setFrequency(feed.frequency);
        (outlet.branch == 0 ? atFirstOutput[outlet.phase] : atBranches[outlet.branch - 1]) += power;
    }
}

void Plant::feedBranches(const Feed& feed) {
    for (std::size_t index = 0; index < branches.size(); ++index) {
        Branch& branch = branches[index];
        branch.circuit.carry(0, branch.isClosed() ? feed.voltage[branch.phase] : 0, atBranches[index]);
        branch.circuit.setFrequency(feed.frequency);
    }
}

void Plant::feedOutputs(const Feed& feed) {
    for (Output& output : outputs) {
        const bool isOn = output.present && output.relay.isOn();
        for (std::uint32_t phase = 0; phase < output.circuit.phases(); ++phase) {
            const double volts = isOn ? feed.voltage[phase] : 0;
            Power power = volts > 0 ? output.terminals[phase].power(loadRipple) : Power{};
            if (&output == &outputs.front()) {
                power += atFirstOutput[phase];
            }
            output.circuit.carry(phase, volts, power);
        }
        output.circuit.setFrequency(feed.frequency);
    }
}

template <typename Visitor>
void Plant::visitCircuits(const Visitor& visit) {
    for (Input& input : inputs) {
        visit(input.circuit);
    }
    for (Output& output : outputs) {
        visit(output.circuit);
    }
    for (Branch& branch : branches) {
        visit(branch.circuit);
    }
    for (Outlet& outlet : outlets) {
        visit(outlet.circuit);
    }
    for (auto& [name, converter] : converters) {
        visit(converter.circuit);
    }
}

void Plant::account(double seconds) {
    visitCircuits([seconds](Circuit& circuit) { circuit.energy.count(circuit.power().active, seconds); });
    for (Branch& branch : branches) {
        branch.step(seconds);
    }
    if (battery) {
        battery->step(seconds);
    }
}

void Plant::begin(const PeriodStarts& starts) {
    visitCircuits([&](Circuit& circuit) { circuit.energy.begin(starts); });
}

} // namespace velk::simulator
