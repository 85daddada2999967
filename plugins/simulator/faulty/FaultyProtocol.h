#pragma once

#include "plugins/simulator/SimulatorProtocol.h"
#include "plugins/simulator/world/FaultTable.h"

#include <memory>

namespace velk::simulator {

/// The protocol with the faults of a plug-in: any of its operations may be told to throw.
class FaultyProtocol final : public SimulatorProtocol {
public:
    FaultyProtocol(const velk::common::Uuid& protocol, std::shared_ptr<World> surroundings,
                   std::shared_ptr<FaultTable> present);
    ~FaultyProtocol() override;

    void start() override;
    void stop() override;
    powerdistribution::protocols::CommunicationStatus communicationStatus() const override;
    bool discover() override;
    void disconnect() override;

private:
    std::shared_ptr<FaultTable> faults;
};

} // namespace velk::simulator
