#pragma once

#include "plugins/simulator/model/Circuit.h"
#include "plugins/simulator/model/Load.h"
#include "plugins/simulator/model/Switch.h"

#include <array>
#include <cstdint>

namespace velk::simulator {

/// One output: its switch, what hangs on its terminals, and, for the first one, the outlets.
class Output {
public:
    explicit Output(const OutputDescription& description) : circuit{description.rating, description.phases} {
        terminals.fill(Load{description.watts / description.phases, description.powerFactor});
    }

    Switch relay;
    Circuit circuit;
    std::array<Load, MOST_PHASES> terminals; ///< by phase, from 0
    bool present{true};
};

} // namespace velk::simulator
