#include "plugins/simulator/SimulatorProtocolBuilder.h"

#include "plugins/simulator/faulty/FaultyProtocol.h"

#include <utility>

namespace velk::simulator {

SimulatorProtocolBuilder::SimulatorProtocolBuilder(std::shared_ptr<const SimulatorConfiguration> settings,
                                                   std::shared_ptr<FaultTable> present) :
    configuration{std::move(settings)}, faults{std::move(present)} {}

SimulatorProtocolBuilder::~SimulatorProtocolBuilder() = default;

std::unique_ptr<powerdistribution::protocols::IProtocol> SimulatorProtocolBuilder::create() const {
    faults->throwIf(Operation::Create);
    auto world = std::make_shared<World>(*configuration, faults, velk::common::Clock::system());
    return std::make_unique<FaultyProtocol>(configuration->uuid, std::move(world), faults);
}

} // namespace velk::simulator
