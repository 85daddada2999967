#pragma once

namespace velk::simulator {

/// Where the power of one step came from and went, in W. input + discharging = output + losses + charging.
struct PowerBalance {
    double input{0};
    double discharging{0};
    double output{0};
    double losses{0};
    double charging{0}; ///< what the battery stores; what the chargers waste is among the losses
};

} // namespace velk::simulator
