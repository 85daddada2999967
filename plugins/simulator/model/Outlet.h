#pragma once

#include "plugins/simulator/model/Circuit.h"
#include "plugins/simulator/model/Load.h"
#include "plugins/simulator/model/Switch.h"

#include <cstdint>

namespace velk::simulator {

/// One outlet: a switch and what is plugged in.
class Outlet {
public:
    explicit Outlet(const OutletDescription& description) :
        circuit{description.rating, 1},
        phase{description.phase - 1},
        branch{description.branch},
        load{description.watts, description.powerFactor} {}

    Switch relay;
    Circuit circuit;
    const std::uint32_t phase;  ///< from 0
    const std::uint32_t branch; ///< from 1; 0: none, it hangs on the first output
    Load load;
    bool present{true};
};

} // namespace velk::simulator
