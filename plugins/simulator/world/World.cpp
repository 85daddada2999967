#include "plugins/simulator/world/World.h"

#include <exception>
#include <iostream>
#include <utility>

namespace velk::simulator {

World::World(const SimulatorConfiguration& configuration, const std::shared_ptr<FaultTable>& faults,
             velk::common::Clock& clock) :
    section{configuration.section},
    control{configuration.control},
    device{std::make_shared<SimulatedDevice>(configuration.device, configuration.seed)},
    wire{std::make_shared<DeviceLink>(device, faults, configuration.timeout, clock)},
    simulation{Simulation::Options{configuration.speed, configuration.tick, configuration.scenarioFolders,
                                   configuration.scenario},
               device, faults, wire, clock} {}

World::~World() {
    stop();
}

void World::start() {
    simulation.start();
    if (control.empty() || server) {
        return;
    }
    try {
        server = std::make_unique<ControlServer>(control, simulation);
    } catch (const std::exception& failure) {
        std::cerr << section + ": no control socket: " + failure.what() + "\n";
    }
}

void World::stop() {
    wire->disconnect();
    simulation.stop(); // first, so that a long command of a client ends
    server.reset();
}

} // namespace velk::simulator
