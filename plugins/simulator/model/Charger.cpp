#include "plugins/simulator/model/Charger.h"

#include <algorithm>

namespace velk::simulator {

namespace {

constexpr double TAPER_FROM = 90;           ///< charge in percent
constexpr double LEAST_SHARE = 0.02;        ///< of the power, at the end of charging
constexpr double FLOAT_SECONDS = 48 * 3600; ///< then the battery rests

} // namespace

double Charger::wanted(const Battery& battery, double seconds) const {
    if (!battery.isPresent() || battery.isFailed() || seconds <= 0) {
        return 0;
    }
    const double room = std::max(0.0, battery.capacity() - battery.energyWh());
    const double left = (100 - battery.stateOfCharge()) / (100 - TAPER_FROM);
    const double power = most * share * std::clamp(left, LEAST_SHARE, 1.0);
    return std::min(power, room * 3600 / seconds);
}

void Charger::follow(const Battery& battery, bool supplied, double watts, double seconds) {
    if (battery.watts() < 0) {
        now = Status::Discharging;
    } else if (!supplied || !battery.isPresent()) {
        now = Status::Off;
    } else if (watts > 0) {
        now = Status::Charging;
    } else {
        floating = now == Status::Floating || now == Status::OnNotCharging ? floating + seconds : 0;
        now = floating < FLOAT_SECONDS ? Status::Floating : Status::OnNotCharging;
    }
}

} // namespace velk::simulator
