#include "plugins/simulator/model/Switch.h"

#include "plugins/simulator/model/MemberTypes.h"

namespace velk::simulator {

void Switch::attach(const PointTable& points, const std::string& node) {
    offDelay = points.knob<std::int32_t>(joinPath(node, "Setting.AutomaticSwitchOffDelay"), -1);
    onDelay = points.knob<std::int32_t>(joinPath(node, "Setting.AutomaticSwitchOnDelay"), -1);
    rebootDuration = points.knob<std::int32_t>(joinPath(node, "Setting.ForcedRebootDuration"), -1);
    rebootForced = points.knob<bool>(joinPath(node, "Setting.ForcedRebootEnabled"), false);
    cycleDuration = points.knob<std::uint32_t>(joinPath(node, "Specification.PowerCycleDuration"), 0);
}

double Switch::rebootPause() const {
    const std::int32_t duration = rebootDuration.get();
    return duration >= 0 ? duration : cycleDuration.get();
}

void Switch::switchOff(double delay) {
    toOn.cancel();
    restart = false;
    shedding = false;
    toOff.start(delay);
    if (delay <= 0) {
        turnOff();
    }
}

void Switch::switchOffWithRestart(double delay) {
    switchOff(delay);
    restart = true;
    pauseLeft = rebootPause();
}

void Switch::switchOn(double delay) {
    toOff.cancel();
    restart = false;
    toOn.start(delay);
    if (delay <= 0) {
        turnOn();
    }
}

void Switch::cancelSwitchOff() {
    if (!restart) {
        toOff.cancel();
    }
}

void Switch::cancelSwitchOffWithRestart() {
    if (restart && on) {
        toOff.cancel();
        restart = false;
    }
}

void Switch::drop(double pause) {
    if (on) {
        turnOff();
        restart = true;
        pauseLeft = pause;
    }
}

void Switch::step(double seconds, const Surroundings& around) {
    followMains(around);
    if (toOff.step(seconds)) {
        turnOff();
    } else {
        stepRestart(seconds, around.mayRestart);
    }
    if (toOn.step(seconds)) {
        turnOn();
    }
}

void Switch::followMains(const Surroundings& around) {
    const bool lostNow = around.mainsLost && !mainsWereLost;
    const bool backNow = !around.mainsLost && mainsWereLost;
    mainsWereLost = around.mainsLost;
    if (lostNow && on && !toOff.isRunning() && offDelay.get() >= 0) {
        toOff.start(offDelay.get());
        shedding = true;
        restart = onDelay.get() >= 0;
        pauseLeft = std::max(onDelay.get(), 0);
    }
    // A shutdown that has begun goes through all the same where the load is to restart cleanly.
    if (backNow && shedding && on && !rebootForced.get()) {
        toOff.cancel();
        shedding = false;
        restart = false;
    }
}

void Switch::stepRestart(double seconds, bool mayRestart) {
    if (on || !restart || !mayRestart) {
        return;
    }
    pauseLeft -= seconds;
    if (pauseLeft <= 0) {
        turnOn();
    }
}

void Switch::turnOff() {
    on = false;
    toOff.cancel();
}

void Switch::turnOn() {
    on = true;
    restart = false;
    shedding = false;
    toOn.cancel();
}

} // namespace velk::simulator
