#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velk::daemon {

/// One network interface of the host. A plain value.
struct NetworkInterface {
    std::string name;
    unsigned int index{0}; ///< the kernel's number, by which interfaces are ordered
    bool up{false};
    bool loopback{false};
    std::string macAddress;                  ///< empty for none, also where the kernel says 00:00:00:00:00:00
    std::string ipv4Address;                 ///< the primary one; empty for none
    std::string ipv6Address;                 ///< the best one; empty for none
    std::optional<std::uint32_t> ipv4Metric; ///< of its default route; the smallest goes first
    std::optional<std::uint32_t> ipv6Metric; ///< likewise
};

/// The primary IPv4 address of an interface; empty for none.
using Ipv4Lookup = std::function<std::string(const std::string& interface)>;

/// As the kernel gives it.
std::string ipv4AddressOf(const std::string& interface);

/// All interfaces by their numbers, from `sys/class/net` and `proc/net` below `root`. What cannot be read is
/// not there.
///
/// Of several IPv6 addresses the best is chosen: one that is reachable from everywhere before one of the
/// site's own (fc00::/7) before one of the link's own (fe80::/10); among these one that is not about to
/// expire before one that is, a lasting one before one made up for privacy, the smaller number before the
/// greater. One whose uniqueness is not known yet does not count.
std::vector<NetworkInterface> readNetworkInterfaces(const std::filesystem::path& root,
                                                    const Ipv4Lookup& ipv4 = ipv4AddressOf);

/// The interface whose addresses are the host's: that of the IPv4 default route with the smallest metric,
/// else that of the IPv6 one, else the first that is up and has an address that others can reach, else the
/// first that is up; among equals that of the smallest number. Never a loopback interface. Null for none.
const NetworkInterface* mainInterface(const std::vector<NetworkInterface>& interfaces);

} // namespace velk::daemon
