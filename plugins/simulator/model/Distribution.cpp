#include "plugins/simulator/model/Distribution.h"

namespace velk::simulator {

Feed Distribution::choose(const PhasePowers&, double, conv::UnixTime) {
    const Input& input = plant.inputs.front();
    Feed feed{{}, input.hertz()};
    for (std::uint32_t phase = 0; phase < input.circuit.phases(); ++phase) {
        feed.voltage[phase] = input.voltage(phase);
    }
    isFed = feed.isLive();
    return feed;
}

void Distribution::settle(const PhasePowers& drawn, double) {
    Input& input = plant.inputs.front();
    std::uint32_t live = 0;
    for (std::uint32_t phase = 0; phase < input.circuit.phases(); ++phase) {
        live += input.voltage(phase) > 0 ? 1 : 0;
    }
    for (std::uint32_t phase = 0; phase < input.circuit.phases(); ++phase) {
        const bool isLive = input.voltage(phase) > 0;
        const double watts = isLive ? losses.standby / live + drawn[phase].active * losses.bypass : 0;
        input.draw(phase, drawn[phase] + Power{watts, 0});
    }
    const double output = sumOf(drawn).active;
    const double lost = live > 0 ? losses.standby + output * losses.bypass : 0;
    plant.balance = {input.circuit.power().active, 0, output, lost, 0};
}

} // namespace velk::simulator
