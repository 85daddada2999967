#pragma once

#include "platform/common/Clock.h"
#include "plugins/simulator/SimulatorConfiguration.h"
#include "plugins/simulator/world/ControlServer.h"
#include "plugins/simulator/world/DeviceLink.h"
#include "plugins/simulator/world/FaultTable.h"
#include "plugins/simulator/world/Simulation.h"

#include <memory>
#include <string>

namespace velk::simulator {

/// All that would stand outside of a real plug-in: the device, its wire, its time, and the tester's hand.
///
/// Threads: `start` and `stop` come from one thread at a time; the link is used by any.
class World {
public:
    World(const SimulatorConfiguration& configuration, const std::shared_ptr<FaultTable>& faults,
          velk::common::Clock& clock);
    ~World(); ///< stops

    /// Switches the device on. A control socket that cannot be had is told in one line on the standard error.
    void start();
    /// Ends and joins all threads.
    void stop();

    const std::shared_ptr<DeviceLink>& link() const { return wire; }

private:
    const std::string section;
    const std::string control;
    const std::shared_ptr<SimulatedDevice> device;
    const std::shared_ptr<DeviceLink> wire;
    Simulation simulation;
    std::unique_ptr<ControlServer> server;
};

} // namespace velk::simulator
