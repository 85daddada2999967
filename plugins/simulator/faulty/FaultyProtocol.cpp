#include "plugins/simulator/faulty/FaultyProtocol.h"

#include <utility>

namespace velk::simulator {

FaultyProtocol::FaultyProtocol(const velk::common::Uuid& protocol, std::shared_ptr<World> surroundings,
                               std::shared_ptr<FaultTable> present) :
    SimulatorProtocol{protocol, std::move(surroundings)}, faults{std::move(present)} {}

FaultyProtocol::~FaultyProtocol() = default;

void FaultyProtocol::start() {
    faults->throwIf(Operation::Start);
    SimulatorProtocol::start();
}

void FaultyProtocol::stop() {
    faults->throwIf(Operation::Stop);
    SimulatorProtocol::stop();
}

powerdistribution::protocols::CommunicationStatus FaultyProtocol::communicationStatus() const {
    faults->throwIf(Operation::CommunicationStatus);
    return SimulatorProtocol::communicationStatus();
}

bool FaultyProtocol::discover() {
    faults->throwIf(Operation::Discover);
    return SimulatorProtocol::discover();
}

void FaultyProtocol::disconnect() {
    faults->throwIf(Operation::Disconnect);
    SimulatorProtocol::disconnect();
}

} // namespace velk::simulator
