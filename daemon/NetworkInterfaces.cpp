#include "daemon/NetworkInterfaces.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cstring>
#include <fstream>
#include <net/if.h>
#include <netinet/in.h>
#include <sstream>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <system_error>
#include <tuple>
#include <unistd.h>

namespace velk::daemon {

namespace {

namespace fs = std::filesystem;

// Bits of the flags column of /proc/net/if_inet6 and /proc/net/ipv6_route.
constexpr unsigned int ADDRESS_TEMPORARY = 0x01;
constexpr unsigned int ADDRESS_DUPLICATE = 0x08;
constexpr unsigned int ADDRESS_DEPRECATED = 0x20;
constexpr unsigned int ADDRESS_TENTATIVE = 0x40;
constexpr unsigned int ROUTE_UP = 0x0001;
constexpr unsigned int ROUTE_REJECTS = 0x0200;

/// An IPv6 address with what it is compared by.
struct RankedAddress {
    in6_addr address{};
    unsigned int flags{0};

    std::tuple<int, bool, bool, std::array<unsigned char, sizeof(in6_addr)>> rank() const {
        std::array<unsigned char, sizeof(in6_addr)> bytes{};
        std::memcpy(bytes.data(), &address, bytes.size());
        const bool linkLocal = bytes[0] == 0xFE && (bytes[1] & 0xC0U) == 0x80;
        const bool siteLocal = (bytes[0] & 0xFEU) == 0xFC;
        return {linkLocal   ? 2
                : siteLocal ? 1
                            : 0,
                (flags & ADDRESS_DEPRECATED) != 0, (flags & ADDRESS_TEMPORARY) != 0, bytes};
    }
};

std::string firstLine(const fs::path& file) {
    std::ifstream stream{file};
    std::string line;
    std::getline(stream, line);
    return line;
}

std::optional<std::uint32_t> numberOf(const std::string& text, int base) {
    try {
        std::size_t used = 0;
        const unsigned long number = std::stoul(text, &used, base);
        return used == text.size() && number <= UINT32_MAX ? std::optional{static_cast<std::uint32_t>(number)}
                                                           : std::nullopt;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::vector<std::vector<std::string>> rowsOf(const fs::path& file) {
    std::vector<std::vector<std::string>> rows;
    std::ifstream stream{file};
    for (std::string line; std::getline(stream, line);) {
        std::istringstream words{line};
        std::vector<std::string>& row = rows.emplace_back();
        for (std::string word; words >> word;) {
            row.push_back(word);
        }
    }
    return rows;
}

NetworkInterface readInterface(const fs::path& folder) {
    NetworkInterface read;
    read.name = folder.filename().string();
    read.index = numberOf(firstLine(folder / "ifindex"), 10).value_or(0);
    const std::uint32_t flags = numberOf(firstLine(folder / "flags"), 16).value_or(0);
    read.up = (flags & IFF_UP) != 0;
    read.loopback = (flags & IFF_LOOPBACK) != 0;
    read.macAddress = firstLine(folder / "address");
    if (read.macAddress.find_first_not_of("0:") == std::string::npos) {
        read.macAddress.clear();
    }
    return read;
}

NetworkInterface* named(std::vector<NetworkInterface>& interfaces, const std::string& name) {
    const auto found = std::find_if(interfaces.begin(), interfaces.end(),
                                    [&](const NetworkInterface& each) { return each.name == name; });
    return found == interfaces.end() ? nullptr : &*found;
}

void noteMetric(std::optional<std::uint32_t>& best, std::uint32_t metric) {
    best = std::min(best.value_or(metric), metric);
}

/// Columns: interface, destination, gateway, flags, counters, metric, mask.
void addIpv4Routes(std::vector<NetworkInterface>& interfaces, const fs::path& file) {
    for (const std::vector<std::string>& row : rowsOf(file)) {
        NetworkInterface* const interface = row.size() < 8 ? nullptr : named(interfaces, row[0]);
        const bool isDefault = interface != nullptr && row[1] == "00000000" && row[7] == "00000000";
        const auto flags = isDefault ? numberOf(row[3], 16) : std::nullopt;
        const auto metric = isDefault ? numberOf(row[6], 10) : std::nullopt;
        if (flags && metric && (*flags & ROUTE_UP) != 0 && (*flags & ROUTE_REJECTS) == 0) {
            noteMetric(interface->ipv4Metric, *metric);
        }
    }
}

/// Columns: destination, its length, source, its length, next hop, metric, counters, flags, interface.
void addIpv6Routes(std::vector<NetworkInterface>& interfaces, const fs::path& file) {
    for (const std::vector<std::string>& row : rowsOf(file)) {
        NetworkInterface* const interface = row.size() < 10 ? nullptr : named(interfaces, row[9]);
        const bool isDefault = interface != nullptr && row[1] == "00" && row[0] == std::string(32, '0');
        const auto flags = isDefault ? numberOf(row[8], 16) : std::nullopt;
        const auto metric = isDefault ? numberOf(row[5], 16) : std::nullopt;
        if (flags && metric && (*flags & ROUTE_UP) != 0 && (*flags & ROUTE_REJECTS) == 0) {
            noteMetric(interface->ipv6Metric, *metric);
        }
    }
}

std::optional<in6_addr> parsedIpv6(const std::string& digits) {
    in6_addr address{};
    if (digits.size() != 2 * sizeof address) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < sizeof address; ++i) {
        const auto byte = numberOf(digits.substr(2 * i, 2), 16);
        if (!byte) {
            return std::nullopt;
        }
        address.s6_addr[i] = static_cast<std::uint8_t>(*byte);
    }
    return address;
}

std::string textOf(const in6_addr& address) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    return inet_ntop(AF_INET6, &address, text.data(), text.size()) == nullptr ? "" : text.data();
}

/// Columns: address, number of the interface, length of the prefix, scope, flags, interface.
std::string bestIpv6(const std::vector<std::vector<std::string>>& rows, const std::string& interface) {
    std::optional<RankedAddress> best;
    for (const std::vector<std::string>& row : rows) {
        if (row.size() < 6 || row[5] != interface) {
            continue;
        }
        const auto address = parsedIpv6(row[0]);
        const std::uint32_t flags = numberOf(row[4], 16).value_or(ADDRESS_DUPLICATE);
        if (!address || (flags & (ADDRESS_DUPLICATE | ADDRESS_TENTATIVE)) != 0) {
            continue;
        }
        const RankedAddress candidate{*address, flags};
        if (!best || candidate.rank() < best->rank()) {
            best = candidate;
        }
    }
    return best ? textOf(best->address) : std::string{};
}

bool isLinkLocal(const std::string& address) {
    return address.starts_with("169.254.") || address.starts_with("fe80:");
}

bool isReachable(const NetworkInterface& interface) {
    return (!interface.ipv4Address.empty() && !isLinkLocal(interface.ipv4Address)) ||
           (!interface.ipv6Address.empty() && !isLinkLocal(interface.ipv6Address));
}

/// The smaller goes first.
auto preference(const NetworkInterface& interface) {
    constexpr std::uint64_t none = UINT64_MAX;
    const std::uint64_t four = interface.ipv4Metric ? *interface.ipv4Metric : none;
    const std::uint64_t six = interface.ipv6Metric ? *interface.ipv6Metric : none;
    return std::tuple{four, six, !isReachable(interface), interface.index};
}

class Socket {
public:
    Socket() : descriptor{socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)} {}
    ~Socket() {
        if (descriptor >= 0) {
            close(descriptor);
        }
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    const int descriptor;
};

} // namespace

std::string ipv4AddressOf(const std::string& interface) {
    const Socket any;
    ifreq request{};
    if (any.descriptor < 0 || interface.size() >= sizeof request.ifr_name) {
        return "";
    }
    interface.copy(request.ifr_name, sizeof request.ifr_name - 1);
    if (ioctl(any.descriptor, SIOCGIFADDR, &request) != 0) {
        return "";
    }
    sockaddr_in address{};
    std::memcpy(&address, &request.ifr_addr, sizeof address);
    std::array<char, INET_ADDRSTRLEN> text{};
    return inet_ntop(AF_INET, &address.sin_addr, text.data(), text.size()) == nullptr ? "" : text.data();
}

std::vector<NetworkInterface> readNetworkInterfaces(const fs::path& root, const Ipv4Lookup& ipv4) {
    std::vector<NetworkInterface> interfaces;
    std::error_code ignored;
    for (const fs::directory_entry& folder : fs::directory_iterator{root / "sys/class/net", ignored}) {
        if (folder.is_directory(ignored)) { // a driver may keep a plain file there
            interfaces.push_back(readInterface(folder.path()));
        }
    }
    std::sort(interfaces.begin(), interfaces.end(), [](const NetworkInterface& a, const NetworkInterface& b) {
        return std::tie(a.index, a.name) < std::tie(b.index, b.name);
    });
    const auto addresses = rowsOf(root / "proc/net/if_inet6");
    for (NetworkInterface& interface : interfaces) {
        interface.ipv4Address = ipv4(interface.name);
        interface.ipv6Address = bestIpv6(addresses, interface.name);
    }
    addIpv4Routes(interfaces, root / "proc/net/route");
    addIpv6Routes(interfaces, root / "proc/net/ipv6_route");
    return interfaces;
}

const NetworkInterface* mainInterface(const std::vector<NetworkInterface>& interfaces) {
    const NetworkInterface* best = nullptr;
    for (const NetworkInterface& candidate : interfaces) {
        const bool counts = candidate.up && !candidate.loopback;
        if (counts && (best == nullptr || preference(candidate) < preference(*best))) {
            best = &candidate;
        }
    }
    return best;
}

} // namespace velk::daemon
