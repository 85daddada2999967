#pragma once

#include <string>

namespace velk::nut {

/// One way to carry an action out. A plain value.
struct ActionStep {
    enum class Delay {
        None,   ///< at once; serves no delay
        Asked,  ///< takes the delay in seconds as its parameter
        Device, ///< goes by the delay that is set in the device, whatever was asked for
    };

    std::string name; ///< a pattern of an instant command, or of a variable when `word` is there
    Delay delay{Delay::None};
    std::string word; ///< what the variable is set to; empty for a command
};

} // namespace velk::nut
