#pragma once

#include "daemon/IHostedManager.h"
#include "powerdistribution/core/PowerDistributionManager.h"

#include <string>

namespace velk::daemon {

/// The library's manager, as the daemon runs it.
class LibraryManager : public IHostedManager {
public:
    /// `configurationPath` is what the manager starts from; `onDeviceWrite` is told of each write to the
    /// device.
    LibraryManager(std::string configurationPath, velk::powerdistribution::DeviceWriteListener onDeviceWrite);

    void exec() override;
    void exit() override { manager.exit(); }
    std::uint32_t operatingStatus() const override { return manager.operatingStatus(); }

private:
    std::string path;
    velk::powerdistribution::DeviceWriteListener listener;
    velk::powerdistribution::PowerDistributionManager manager;
};

} // namespace velk::daemon
