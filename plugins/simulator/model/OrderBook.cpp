#include "plugins/simulator/model/OrderBook.h"

#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

namespace velk::simulator {

namespace {

/// Throws unless `number` is one of 1 to `most`.
void checkNumber(const char* what, std::uint32_t number, std::size_t most) {
    if (number < 1 || number > most) {
        throw std::invalid_argument{std::string{what} + " " + std::to_string(number) +
                                    " is not there: expected 1 to " + std::to_string(most)};
    }
}

void checkRange(const char* what, std::optional<double> value, const OrderRange& range, const char* unit) {
    if (value && !(*value >= range.least && *value <= range.most)) {
        throw std::invalid_argument{std::string{what} + " " + std::to_string(*value) + ": expected " +
                                    std::to_string(std::lround(range.least)) + " to " +
                                    std::to_string(std::lround(range.most)) + " " + unit};
    }
}

void applyTo(Input& input, const MainsOrder& order) {
    const std::uint32_t first = order.phase ? *order.phase - 1 : 0;
    const std::uint32_t last = order.phase ? *order.phase : input.circuit.phases();
    for (std::uint32_t phase = first; phase < last; ++phase) {
        if (order.state) {
            input.setState(phase, *order.state);
        }
        if (order.voltage) {
            input.setVoltage(phase, *order.voltage);
        }
    }
    if (order.frequency) {
        input.setFrequency(*order.frequency);
    }
}

double wattsOf(const LoadOrder& order, const Rating& rating) {
    return order.watts ? *order.watts : rating.activePower * *order.percent / 100;
}

/// Spreads `watts` over the outlets of `phase` (or all) that are switched on; false when there is none.
bool spreadOverOutlets(Plant& plant, std::optional<std::uint32_t> phase, double watts) {
    std::vector<Outlet*> there;
    double rated = 0;
    for (Outlet& outlet : plant.outlets) {
        if (outlet.present && phase.value_or(outlet.phase) == outlet.phase) {
            const bool isOn = outlet.relay.isOn();
            outlet.load.setWatts(isOn ? outlet.load.watts() : 0);
            if (isOn) {
                there.push_back(&outlet);
                rated += outlet.circuit.rating().activePower;
            }
        }
    }
    for (Outlet* outlet : there) {
        outlet->load.setWatts(watts * outlet->circuit.rating().activePower / rated);
    }
    return !there.empty();
}

/// Hangs `watts` on the terminals of one phase (from 0), or of all in equal parts.
void loadTerminals(Output& output, std::optional<std::uint32_t> phase, double watts) {
    const std::uint32_t phases = output.circuit.phases();
    const double share = phase.has_value() ? watts : watts / phases;
    for (std::uint32_t index = 0; index < phases; ++index) {
        if (phase.value_or(index) == index) {
            output.terminals[index].setWatts(share);
        }
    }
}

/// What is rated for the load of a phase, or of all: the output, or the input of a device without outputs.
Rating ratingOf(const Plant& plant, std::size_t output, bool onePhase) {
    const Circuit& circuit =
        plant.outputs.empty() ? plant.inputs.front().circuit : plant.outputs[output].circuit;
    Rating rating = circuit.rating();
    rating.activePower /= onePhase ? circuit.phases() : 1;
    return rating;
}

void check(const LoadOrder& order, const Plant& plant) {
    if (order.watts.has_value() == order.percent.has_value()) {
        throw std::invalid_argument{"load: expected either \"watts\" or \"percent\""};
    }
    if (order.outlet && (order.output || order.phase)) {
        throw std::invalid_argument{"load: expected an outlet alone, or an output and a phase"};
    }
    if (!order.outlet && !order.output && !order.phase) {
        throw std::invalid_argument{"load: expected \"outlet\", \"output\" or \"phase\""};
    }
    checkRange("watts", order.watts, LOAD_WATTS, "W");
    checkRange("percent", order.percent, LOAD_PERCENT, "%");
    if (order.outlet) {
        checkNumber("outlet", *order.outlet, plant.outlets.size());
    }
    if (order.output) {
        checkNumber("output", *order.output, plant.outputs.size());
    }
    if (order.phase) {
        checkNumber("phase", *order.phase, plant.inputs.front().circuit.phases());
    }
}

} // namespace

void apply(const MainsOrder& order, Plant& plant) {
    if (order.input) {
        checkNumber("input", *order.input, plant.inputs.size());
    }
    const std::size_t first = order.input ? *order.input - 1 : 0;
    const std::size_t end = order.input ? *order.input : plant.inputs.size();
    for (std::size_t input = first; input < end && order.phase; ++input) {
        checkNumber("phase", *order.phase, plant.inputs[input].circuit.phases());
    }
    checkRange("voltage", order.voltage, MAINS_VOLTAGE, "V");
    checkRange("frequency", order.frequency, MAINS_FREQUENCY, "Hz");
    if (!order.state && !order.voltage && !order.frequency) {
        throw std::invalid_argument{"mains: expected \"state\", \"voltage\" or \"frequency\""};
    }
    for (std::size_t input = first; input < end; ++input) {
        applyTo(plant.inputs[input], order);
    }
}

void apply(const LoadOrder& order, Plant& plant) {
    check(order, plant);
    if (order.outlet) {
        Outlet& outlet = plant.outlets[*order.outlet - 1];
        outlet.load.setWatts(wattsOf(order, outlet.circuit.rating()));
        return;
    }
    const std::size_t output = order.output.value_or(1) - 1;
    const auto phase = order.phase ? std::optional{*order.phase - 1} : std::nullopt;
    const double watts = wattsOf(order, ratingOf(plant, output, phase.has_value()));
    const bool hasOutlets = output == 0 && spreadOverOutlets(plant, phase, watts);
    if (!plant.outputs.empty()) {
        loadTerminals(plant.outputs[output], phase, hasOutlets ? 0 : watts);
    }
}

void apply(const BatteryOrder& order, Plant& plant) {
    if (!plant.battery) {
        throw std::invalid_argument{"battery: this device has none"};
    }
    checkRange("charge", order.charge, BATTERY_CHARGE, "%");
    checkRange("temperature", order.temperature, BATTERY_TEMPERATURE, "°C");
    Battery& battery = *plant.battery;
    if (order.charge) {
        battery.setCharge(*order.charge);
    }
    if (order.failed) {
        battery.setFailed(*order.failed);
    }
    if (order.present) {
        battery.setPresent(*order.present);
    }
    if (order.temperature) {
        battery.setTemperature(*order.temperature);
    }
}

} // namespace velk::simulator
