#include "plugins/simulator/model/TransferSwitch.h"

namespace velk::simulator {

void TransferSwitch::attach(const PointTable& points) {
    preferredSource = points.knob<std::uint32_t>("Setting.PreferredSource", 1);
    outOfToleranceAllowed = points.knob<bool>("Setting.OutOfToleranceTransferEnabled", false);
}

std::size_t TransferSwitch::preferred() const {
    return preferredSource.get() == 2 ? 1 : 0;
}

bool TransferSwitch::isUsable(std::size_t input) const {
    return plant.inputs[input].isAccepted() || (outOfToleranceAllowed.get() && plant.inputs[input].isLive());
}

std::optional<std::size_t> TransferSwitch::firstInput(const std::function<bool(std::size_t)>& fits) const {
    for (const std::size_t input : {preferred(), 1 - preferred()}) {
        if (fits(input)) {
            return input;
        }
    }
    return std::nullopt;
}

Feed TransferSwitch::choose(const PhasePowers&, double, conv::UnixTime) {
    source = firstInput([this](std::size_t input) { return plant.inputs[input].isAccepted(); });
    if (!source) {
        source = firstInput([this](std::size_t input) { return isUsable(input); });
    }
    Feed feed;
    if (source) {
        const Input& input = plant.inputs[*source];
        feed.frequency = input.hertz();
        for (std::uint32_t phase = 0; phase < input.circuit.phases(); ++phase) {
            feed.voltage[phase] = input.voltage(phase);
        }
    }
    return feed;
}

void TransferSwitch::settle(const PhasePowers& drawn, double) {
    double lost = 0;
    for (std::size_t index = 0; index < plant.inputs.size(); ++index) {
        Input& input = plant.inputs[index];
        const std::uint32_t phases = input.circuit.phases();
        for (std::uint32_t phase = 0; phase < phases; ++phase) {
            const bool feeds = source == index;
            const double watts = feeds ? losses.standby / phases + drawn[phase].active * losses.bypass : 0;
            input.draw(phase, feeds ? drawn[phase] + Power{watts, 0} : Power{});
            lost += watts;
        }
    }
    double taken = 0;
    for (const Input& input : plant.inputs) {
        taken += input.circuit.power().active;
    }
    plant.balance = {taken, 0, sumOf(drawn).active, lost, 0};
    if (Converter* stage = plant.converter("TransferSwitch"); stage != nullptr) {
        stage->give(plant.outputs.front().circuit);
        stage->follow(plant.inputs[0].isLive() || plant.inputs[1].isLive(), source.has_value(), taken);
    }
}

Mode TransferSwitch::mode() const {
    if (!source) {
        return Mode::Off;
    }
    return *source == preferred() ? Mode::OnPreferredSource : Mode::OnAlternateSource;
}

} // namespace velk::simulator
