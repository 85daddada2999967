#include "plugins/simulator/SimulatorProtocol.h"

#include <utility>

namespace velk::simulator {

SimulatorProtocol::SimulatorProtocol(const velk::common::Uuid& protocol,
                                     std::shared_ptr<World> surroundings) :
    uuid{protocol}, world{std::move(surroundings)} {}

SimulatorProtocol::~SimulatorProtocol() {
    // The plug-in is unloaded after this: no thread may be left, whether or not the host has called `stop`.
    world->stop();
}

void SimulatorProtocol::start() {
    world->start();
}

void SimulatorProtocol::stop() {
    world->stop();
}

powerdistribution::protocols::CommunicationStatus SimulatorProtocol::communicationStatus() const {
    return link()->status();
}

bool SimulatorProtocol::discover() {
    return link()->connect();
}

void SimulatorProtocol::disconnect() {
    link()->disconnect();
}

} // namespace velk::simulator
