#pragma once

#include "daemon/HostSettings.h"
#include "daemon/IHostSource.h"
#include "daemon/NetworkInterfaces.h"

#include <filesystem>

namespace velk::daemon {

/// The facts of the machine that this process runs on.
///
/// The addresses are those of one interface: the one that the settings name, even when it is the loopback,
/// else `mainInterface`. The product name is that of the settings, else the one that the firmware of the
/// machine gives, else the name of the operating system; the firmware version is that of the settings, else
/// the version of the system image, of the operating system or of its build.
class SystemHostSource : public IHostSource {
public:
    /// Reads below `root`, and IPv4 addresses from `ipv4`.
    explicit SystemHostSource(HostSettings chosen, std::filesystem::path root = "/",
                              Ipv4Lookup ipv4 = ipv4AddressOf);

    /// The trouble is a chosen interface that is not there.
    Reading read() override;

private:
    void addAddresses(Reading& reading) const;

    const HostSettings settings;
    const std::filesystem::path root;
    const Ipv4Lookup ipv4;
};

} // namespace velk::daemon
