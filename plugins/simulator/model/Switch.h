#pragma once

#include "plugins/simulator/model/Countdown.h"
#include "plugins/simulator/model/PointTable.h"

#include <cstdint>
#include <string>

namespace velk::simulator {

/// Something that is switched on and off, at once or after a delay: an outlet, an output.
class Switch {
public:
    /// What happens around the switch in a step.
    struct Surroundings {
        bool mainsLost{false};  ///< the device runs without its mains
        bool mayRestart{false}; ///< what was switched off until then may come back
    };

    /// Takes its delays from the settings below `node`.
    void attach(const PointTable& points, const std::string& node);

    bool isOn() const { return on; }
    bool isGoingOff() const { return toOff.isRunning(); }
    bool isGoingOn() const { return toOn.isRunning(); }

    /// Off, but to come back by itself.
    bool awaitsRestart() const { return !on && restart; }
    std::int32_t secondsToOff() const { return toOff.remaining(); }
    std::int32_t secondsToOn() const { return toOn.remaining(); }

    /// Seconds; at once for 0. A later command takes the place of an earlier one.
    void switchOff(double delay);
    void switchOffWithRestart(double delay);
    void switchOn(double delay);
    void cancelSwitchOff();
    void cancelSwitchOffWithRestart();
    void cancelSwitchOn() { toOn.cancel(); }

    /// Off at once, to come back `pause` seconds after that may be.
    void drop(double pause);

    void step(double seconds, const Surroundings& around);

    /// The delays that the device takes where a command names none.
    double ownOffDelay() const { return std::max(offDelay.get(), 0); }
    double ownOnDelay() const { return std::max(onDelay.get(), 0); }

private:
    void followMains(const Surroundings& around);
    void stepRestart(double seconds, bool mayRestart);
    void turnOff();
    void turnOn();
    double rebootPause() const;

    Knob<std::int32_t> offDelay;
    Knob<std::int32_t> onDelay;
    Knob<std::int32_t> rebootDuration;
    Knob<bool> rebootForced;
    Knob<std::uint32_t> cycleDuration;

    bool on{true};
    bool restart{
        false}; ///< the running switch-off, or the one that has happened, is to be followed by a restart
    bool shedding{false}; ///< the running switch-off comes from the loss of the mains
    bool mainsWereLost{false};
    double pauseLeft{0};
    Countdown toOff;
    Countdown toOn;
};

} // namespace velk::simulator
