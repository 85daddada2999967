#pragma once

#include "plugins/nut/NutDevice.h"
#include "powerdistribution/protocols/IProtocol.h"

#include <memory>

namespace velk::nut {

/// Reaches one device of a device server. From `start` on the server is asked in the background, so that
/// `discover` only has to look.
class NutProtocol final : public powerdistribution::protocols::IProtocol {
public:
    explicit NutProtocol(std::shared_ptr<NutDevice> target);
    ~NutProtocol() override; ///< stops

    void start() override;
    void stop() override;
    const velk::common::Uuid& protocolUuid() const override;
    powerdistribution::protocols::CommunicationStatus communicationStatus() const override;
    /// True when the device's data are good and have settled; never waits.
    bool discover() override;
    void disconnect() override;

    /// Shared with the wrappers, which go on working, without data, when the protocol is gone.
    const std::shared_ptr<NutDevice>& device() const { return reached; }

private:
    std::shared_ptr<NutDevice> reached;
};

} // namespace velk::nut
