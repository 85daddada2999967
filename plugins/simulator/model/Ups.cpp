#include "plugins/simulator/model/Ups.h"

#include <algorithm>
#include <cmath>

namespace velk::simulator {

void Ups::attach(const PointTable& points) {
    bypassEnabled = points.knob<bool>("Setting.BypassTransferEnabled", true);
    emergencyOff = points.knob<bool>("Status.EmergencySwitchOff", false);
    noStorage = points.knob<bool>("Setting.NoStorageModeEnabled", false);
    deepDischargeProtection = points.knob<bool>("Setting.DeepDischargeProtectionEnabled", false);
    restartEnabled = points.knob<bool>("Setting.AutomaticRestartEnabled", true);
    restartLevel = points.knob<float>("Setting.AutomaticRestartLevel", 0);
    sleepDelay = points.knob<std::int32_t>("Setting.AutomaticSleepDelay", -1);
    sleepLimit = points.knob<float>("Setting.PercentLoadSleepLimit", 0);
}

Switch::Surroundings Ups::surroundings() const {
    const bool isCharged = !plant.battery || plant.battery->stateOfCharge() >= restartLevel.get();
    return {!areMainsGood(), areMainsGood() && isCharged};
}

bool Ups::isOutputOn() const {
    return std::any_of(plant.outputs.begin(), plant.outputs.end(),
                       [](const Output& output) { return output.relay.isOn(); });
}

double Ups::conversionLosses(double output) const {
    const double load = ratedPower() > 0 ? output / ratedPower() : 0;
    return losses.standby + ratedPower() * (losses.linear * load + losses.square * load * load);
}

bool Ups::canDischarge(double demanded, double seconds) const {
    if (!plant.battery || noStorage.get()) {
        return false;
    }
    const double needed = (demanded + conversionLosses(demanded)) * seconds / 3600;
    return plant.battery->available(chargeFloor()) >= needed && plant.battery->available(0) > 0;
}

Mode Ups::decide(double demanded, double seconds) const {
    if (!isOutputOn() || emergencyOff.get()) {
        return Mode::Off;
    }
    if (const auto direct = directMode()) {
        return *direct;
    }
    if (areConvertersGood() && !overload.isTripped()) {
        const bool testing = plant.test && plant.test->isRunning();
        if (testing && canDischarge(demanded, seconds)) {
            return Mode::OnBattery;
        }
        if (areMainsGood()) {
            return mainsMode();
        }
        if (canDischarge(demanded, seconds)) {
            return Mode::OnBattery;
        }
    }
    return lastResort().value_or(Mode::Off);
}

Feed Ups::choose(const PhasePowers& demand, double seconds, conv::UnixTime now) {
    const Power wanted = sumOf(demand);
    lastDemand = isOutputOn() ? wanted.active : lastDemand;
    const Mode before = present;
    present = decide(wanted.active, seconds);
    if (present == Mode::Off && isOutputOn()) {
        depleted = before == Mode::OnBattery && !overload.isTripped();
        dropOutputs();
    }
    followTest(seconds, now);
    followSleep(wanted.active, seconds);
    const double rated = plant.outputs.front().circuit.rating().apparentPower;
    overload.step(rated > 0 && present != Mode::Off ? wanted.apparent() / rated : 0, seconds);
    return feedOf(present);
}

void Ups::dropOutputs() {
    for (Output& output : plant.outputs) {
        if (overload.isTripped() || emergencyOff.get() || !restartEnabled.get()) {
            output.relay.switchOff(0);
        } else {
            output.relay.drop(output.relay.ownOnDelay());
        }
    }
}

void Ups::followTest(double seconds, conv::UnixTime now) {
    if (plant.test) {
        plant.test->step(seconds, present == Mode::OnBattery, areMainsGood(), now);
    }
}

void Ups::followSleep(double demanded, double seconds) {
    const bool isLow = present == Mode::OnBattery && sleepDelay.get() >= 0 &&
                       100 * demanded < sleepLimit.get() * ratedPower();
    sleepy = isLow ? sleepy + seconds : 0;
    if (isLow && sleepy > sleepDelay.get()) {
        dropOutputs();
    }
}

double Ups::chargingPower(double seconds) const {
    return plant.battery && areMainsGood() && !noStorage.get()
               ? plant.charger->wanted(*plant.battery, seconds)
               : 0;
}

void Ups::settle(const PhasePowers& drawn, double seconds) {
    const double output = sumOf(drawn).active;
    const bool onBattery = present == Mode::OnBattery;
    const double charging = onBattery ? 0 : chargingPower(seconds);
    const double wasted = charging / Charger::EFFICIENCY - charging;
    const double lost = lossesOf(present, output) + wasted;
    const double discharging = onBattery ? output + lost : 0;
    draw(present, drawn, onBattery ? 0 : lost, charging);
    if (plant.battery) {
        Battery& battery = *plant.battery;
        if (discharging > 0) {
            battery.discharge(discharging, seconds);
        } else {
            battery.charge(charging, seconds);
        }
        plant.charger->follow(battery, areMainsGood() && !noStorage.get(), charging, seconds);
        depleted = depleted && battery.stateOfCharge() < RECOVERED_CHARGE;
    }
    double taken = 0;
    for (const Input& input : plant.inputs) {
        taken += input.circuit.power().active;
    }
    plant.balance = {taken, discharging, output, lost, charging};
    followConverters(present, lost);
}

void Ups::followStage(std::string_view name, bool supplied, const Circuit* given, double watts) {
    if (Converter* stage = plant.converter(name); stage != nullptr) {
        const Circuit& output = plant.outputs.front().circuit;
        stage->give(given != nullptr ? *given : Circuit{output.rating(), output.phases()});
        stage->switchedOn = given != nullptr;
        stage->follow(supplied, given != nullptr, given != nullptr ? watts : 0);
    }
}

double Ups::remainingSeconds() const {
    if (!plant.battery || noStorage.get()) {
        return 0;
    }
    const double power = lastDemand + conversionLosses(lastDemand);
    constexpr double MOST = 24 * 3600; // what the display of such a device shows at most
    const double available = plant.battery->available(chargeFloor());
    return power > 0 ? std::min(available * 3600 / power, MOST) : (available > 0 ? MOST : 0);
}

} // namespace velk::simulator
