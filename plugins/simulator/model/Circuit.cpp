#include "plugins/simulator/model/Circuit.h"

#include <algorithm>
#include <complex>
#include <numbers>

namespace velk::simulator {

Circuit::Circuit(const Rating& ratings, std::uint32_t phases) : rated{ratings}, count{phases} {}

Power Circuit::power() const {
    Power sum;
    for (std::uint32_t index = 0; index < count; ++index) {
        sum += flows[index].power;
    }
    return sum;
}

double Circuit::voltage() const {
    double sum = 0;
    for (std::uint32_t index = 0; index < count; ++index) {
        sum += flows[index].voltage;
    }
    return sum / count;
}

double Circuit::current() const {
    const double volts = voltage();
    return volts > 0 ? power().apparent() / volts / count : 0;
}

double Circuit::lineVoltage(std::uint32_t index) const {
    const double one = flows[index].voltage;
    const double other = flows[(index + 1) % count].voltage;
    return std::sqrt(one * one + other * other + one * other);
}

double Circuit::neutralCurrent() const {
    std::complex<double> sum;
    for (std::uint32_t index = 0; index < count; ++index) {
        const PhaseFlow& flow = flows[index];
        const double lag = std::atan2(flow.power.reactive, flow.power.active);
        sum += std::polar(flow.current(), -2 * std::numbers::pi * index / MOST_PHASES - lag);
    }
    return std::abs(sum);
}

double Circuit::percentLoad() const {
    return rated.apparentPower > 0 ? 100 * power().apparent() / rated.apparentPower : 0;
}

double Circuit::percentLoad(std::uint32_t index) const {
    return rated.apparentPower > 0 ? 100 * flows[index].power.apparent() * count / rated.apparentPower : 0;
}

double Circuit::highestPhaseCurrent() const {
    double highest = 0;
    for (std::uint32_t index = 0; index < count; ++index) {
        highest = std::max(highest, flows[index].current());
    }
    return highest;
}

} // namespace velk::simulator
