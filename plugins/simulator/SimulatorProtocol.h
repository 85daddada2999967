#pragma once

#include "platform/common/Uuid.h"
#include "plugins/simulator/world/World.h"
#include "powerdistribution/protocols/IProtocol.h"

#include <memory>

namespace velk::simulator {

/// Reaches the device. One object lives as long as the host uses the plug-in; it finds the device, lets it go
/// and finds it again, and says at any time how the link is.
class SimulatorProtocol : public powerdistribution::protocols::IProtocol {
public:
    SimulatorProtocol(const velk::common::Uuid& protocol, std::shared_ptr<World> surroundings);
    ~SimulatorProtocol() override; ///< stops

    /// A plug-in for a real device starts what it does in the background here. Ours starts the device.
    void start() override;
    void stop() override;
    const velk::common::Uuid& protocolUuid() const override { return uuid; }
    powerdistribution::protocols::CommunicationStatus communicationStatus() const override;
    bool discover() override;
    void disconnect() override;

    /// Shared with the wrappers, which outlive the connection and may outlive the protocol.
    const std::shared_ptr<DeviceLink>& link() const { return world->link(); }

private:
    velk::common::Uuid uuid;
    std::shared_ptr<World> world;
};

} // namespace velk::simulator
