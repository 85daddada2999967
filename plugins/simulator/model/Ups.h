#pragma once

#include "plugins/simulator/model/Overload.h"
#include "plugins/simulator/model/PowerPath.h"

#include <optional>

namespace velk::simulator {

/// What all UPS have in common: the battery that carries the load when the mains do not, its charger and its
/// test, switching off when it is empty and coming back when the mains do.
class Ups : public PowerPath {
public:
    void attach(const PointTable& points) override;
    Feed choose(const PhasePowers& demand, double seconds, conv::UnixTime now) override;
    void settle(const PhasePowers& drawn, double seconds) override;
    Mode mode() const override { return present; }
    Switch::Surroundings surroundings() const override;

    bool areMainsGood() const { return plant.inputs.front().isAccepted(); }
    bool isOverheated() const { return overload.isTripped(); }

    /// Set up to work without a battery.
    bool isWithoutStorage() const { return noStorage.get(); }

    /// The battery was emptied and has not been charged again yet.
    bool isDepleted() const { return depleted; }

    /// How long the battery can carry what the load draws now, or drew last, in s; 0 when it cannot.
    double remainingSeconds() const;

    /// Below this charge it gives nothing, in percent.
    double chargeFloor() const { return deepDischargeProtection.get() ? PROTECTED_CHARGE : 0; }

protected:
    Ups(Plant& plant, const LossDescription& losses) : plant{plant}, losses{losses} {}

    /// The mode in which the load does without the converters because somebody wants it so; empty: none.
    virtual std::optional<Mode> directMode() const = 0;

    /// The mode in which good mains carry the load.
    virtual Mode mainsMode() const = 0;

    /// The mode in which the load is carried when neither converters nor battery can; empty: it is not.
    virtual std::optional<Mode> lastResort() const = 0;

    /// Whether the converters can carry the load.
    virtual bool areConvertersGood() const = 0;

    /// What the outputs get in `mode`.
    virtual Feed feedOf(Mode mode) const = 0;

    /// What is lost in `mode` at this output power, in W; without the charger.
    virtual double lossesOf(Mode mode, double output) const = 0;

    /// Draws output, losses and charging power from the inputs.
    virtual void draw(Mode mode, const PhasePowers& drawn, double lost, double charging) = 0;

    /// Enters the step into the converters.
    virtual void followConverters(Mode mode, double lost) = 0;

    /// Enters a step into the stage of that name, where the device has it. It gives what flows through
    /// `given`, or nothing when that is null, and takes `watts` for it.
    void followStage(std::string_view name, bool supplied, const Circuit* given, double watts);

    /// Losses of the converters at that output power, in W.
    double conversionLosses(double output) const;
    double ratedPower() const { return plant.outputs.front().circuit.rating().activePower; }

    Plant& plant;
    const LossDescription losses;
    Knob<bool> bypassEnabled;
    Knob<bool> emergencyOff;

private:
    static constexpr double PROTECTED_CHARGE = 2;
    static constexpr double RECOVERED_CHARGE = 5;

    Mode decide(double demanded, double seconds) const;
    bool canDischarge(double demanded, double seconds) const;
    bool isOutputOn() const;
    double chargingPower(double seconds) const;
    void dropOutputs();
    void followSleep(double demanded, double seconds);
    void followTest(double seconds, conv::UnixTime now);

    Knob<bool> noStorage;
    Knob<bool> deepDischargeProtection;
    Knob<bool> restartEnabled;
    Knob<float> restartLevel;
    Knob<std::int32_t> sleepDelay;
    Knob<float> sleepLimit;

    Mode present{Mode::Off};
    bool depleted{false};
    double sleepy{0}; ///< how long the load has been low on battery, in s
    double lastDemand{0};
    Overload overload;
};

} // namespace velk::simulator
