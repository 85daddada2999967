#include "plugins/simulator/model/Battery.h"

#include <algorithm>
#include <cmath>

namespace velk::simulator {

namespace {

// Shares of the nominal voltage: empty, span to full, and how far it moves while current flows.
constexpr double EMPTY_VOLTAGE = 0.9;
constexpr double VOLTAGE_SPAN = 0.17;
constexpr double RAISE = 0.06;
constexpr double DROP = 0.04;

constexpr double WARMING = 8;         ///< above the surroundings at a discharge within one hour, in K
constexpr double TIME_CONSTANT = 900; ///< in s

} // namespace

Battery::Battery(const BatteryDescription& told, double surroundings) :
    description{told},
    ambient{surroundings},
    moduleCount{told.modules},
    energy{0},
    heat{told.temperature, TIME_CONSTANT} {
    setCharge(told.charge);
}

double Battery::capacity() const {
    return description.capacityWh * description.health / 100 * moduleCount / description.modules;
}

void Battery::setModules(std::uint32_t count) {
    const double charge = stateOfCharge();
    moduleCount = count;
    setCharge(charge);
}

void Battery::setTemperature(double celsius) {
    ambient = celsius;
    heat.set(celsius);
}

double Battery::available(double floorPercent) const {
    return present && !failed ? std::max(0.0, energy - capacity() * floorPercent / 100) : 0;
}

void Battery::charge(double watts, double seconds) {
    flow = watts;
    energy += watts * seconds / 3600;
}

void Battery::discharge(double watts, double seconds) {
    flow = -watts;
    energy -= watts * seconds / 3600;
    discharged += watts * seconds / 3600;
}

void Battery::step(double seconds) {
    const double share = description.capacityWh > 0 ? std::abs(flow) / description.capacityWh : 0;
    heat.step(seconds, ambient + WARMING * std::min(share, 4.0));
}

double Battery::voltage() const {
    if (!present) {
        return 0;
    }
    const double raised = flow > 0 ? RAISE : 0;
    const double dropped = flow < 0 ? DROP : 0;
    return description.voltage * (EMPTY_VOLTAGE + VOLTAGE_SPAN * stateOfCharge() / 100 + raised - dropped);
}

double Battery::current() const {
    return voltage() > 0 ? flow / voltage() : 0;
}

} // namespace velk::simulator
