#pragma once

#include <string>

namespace velk::daemon {

/// What the device is told of the machine that it is connected to. An empty text means that there is none. A
/// plain value.
struct HostFacts {
    std::string macAddress;  ///< "02:fc:00:00:00:01"
    std::string ipv4Address; ///< "192.0.2.2"
    std::string ipv6Address; ///< "fd00::2", without a zone
    std::string productName;
    std::string firmwareVersion;

    friend bool operator==(const HostFacts&, const HostFacts&) = default;
};

} // namespace velk::daemon
