#pragma once

#include "daemon/ExplainDesk.h"
#include "daemon/IHostedManager.h"
#include "daemon/LifeSign.h"
#include "powerdistribution/core/PowerDistributionManager.h"

#include <string>

namespace velk::daemon {

/// The library's manager, as the daemon runs it.
class LibraryManager : public IHostedManager {
public:
    /// `configurationPath` is what the manager starts from; `onDeviceWrite` is told of each write to the
    /// device and `onDeviceLog` of each look at its event log; `sign` says in the store that the manager is
    /// at work while it runs, and `desk` is answered from it then. Both outlive this object.
    LibraryManager(std::string configurationPath, velk::powerdistribution::DeviceWriteListener onDeviceWrite,
                   velk::powerdistribution::DeviceLogListener onDeviceLog, LifeSign& sign, ExplainDesk& desk);

    void exec() override;
    void exit() override { manager.exit(); }
    std::uint32_t operatingStatus() const override { return manager.operatingStatus(); }

private:
    std::string path;
    velk::powerdistribution::DeviceWriteListener listener;
    velk::powerdistribution::DeviceLogListener logListener;
    LifeSign& sign;
    ExplainDesk& desk;
    velk::powerdistribution::PowerDistributionManager manager;
};

} // namespace velk::daemon
