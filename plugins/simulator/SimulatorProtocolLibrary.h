#pragma once

#include "plugins/simulator/SimulatorConfiguration.h"
#include "plugins/simulator/world/FaultTable.h"
#include "powerdistribution/protocols/IProtocolLibrary.h"

#include <memory>

namespace velk::simulator {

/// The entry object of the plug-in: makes protocols of one configuration, and wrapper factories for them.
class SimulatorProtocolLibrary final : public powerdistribution::protocols::IProtocolLibrary {
public:
    explicit SimulatorProtocolLibrary(SimulatorConfiguration settings);
    ~SimulatorProtocolLibrary() override;

    const velk::common::Uuid& uuid() const override { return configuration->uuid; }
    std::shared_ptr<powerdistribution::protocols::IProtocolBuilder> builder() const override;

    /// Throws std::invalid_argument for a protocol that is not of this plug-in.
    std::shared_ptr<powerdistribution::protocols::IWrapperFactory>
    wrapperFactory(std::shared_ptr<powerdistribution::protocols::IProtocol> protocol) const override;

private:
    std::shared_ptr<const SimulatorConfiguration> configuration;
    std::shared_ptr<FaultTable> faults;
};

} // namespace velk::simulator
