#pragma once

#include "plugins/simulator/SimulatorConfiguration.h"
#include "plugins/simulator/world/FaultTable.h"
#include "powerdistribution/protocols/IProtocolBuilder.h"

#include <memory>

namespace velk::simulator {

/// Makes the protocol of one configuration.
class SimulatorProtocolBuilder : public powerdistribution::protocols::IProtocolBuilder {
public:
    SimulatorProtocolBuilder(std::shared_ptr<const SimulatorConfiguration> settings,
                             std::shared_ptr<FaultTable> present);
    ~SimulatorProtocolBuilder() override;
    std::unique_ptr<powerdistribution::protocols::IProtocol> create() const override;

private:
    std::shared_ptr<const SimulatorConfiguration> configuration;
    std::shared_ptr<FaultTable> faults;
};

} // namespace velk::simulator
