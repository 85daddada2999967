#pragma once

#include "daemon/NetworkInterfaces.h"
#include "testing/TemporaryDirectory.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace velk::daemon {

/// The files of a made-up host in a folder of their own, as the kernel would show them.
class HostTree {
public:
    void write(const std::string& name, const std::string& text,
               std::ios_base::openmode mode = std::ios_base::out) {
        std::filesystem::create_directories((folder / name).parent_path());
        std::ofstream{folder / name, mode} << text;
    }

    void append(const std::string& name, const std::string& text) { write(name, text, std::ios_base::app); }

    void addInterface(const std::string& name, unsigned int index, const std::string& mac,
                      const std::string& ipv4, const std::string& flags = "0x1003") {
        const std::string place = "sys/class/net/" + name + "/";
        write(place + "ifindex", std::to_string(index) + "\n");
        write(place + "flags", flags + "\n");
        write(place + "address", mac + "\n");
        addresses[name] = ipv4;
    }

    void addLoopback() { addInterface("lo", 1, "00:00:00:00:00:00", "127.0.0.1", "0x9"); }

    void addIpv6(const std::string& digits, const std::string& interface, unsigned int flags = 0x80) {
        char text[8];
        std::snprintf(text, sizeof text, "%02x", flags);
        append("proc/net/if_inet6", digits + " 04 40 00 " + text + "     " + interface + "\n");
    }

    void addIpv4Route(const std::string& interface, unsigned int metric) {
        append("proc/net/route",
               interface + "\t00000000\t010200C0\t0003\t0\t0\t" + std::to_string(metric) + "\t00000000\t0\n");
    }

    void addIpv6Route(const std::string& interface, unsigned int metric) {
        char text[16];
        std::snprintf(text, sizeof text, "%08x", metric);
        const std::string zeros(32, '0');
        append("proc/net/ipv6_route", zeros + " 00 " + zeros + " 00 fe80" + std::string(27, '0') + "1 " +
                                          text + " 00000003 00000000 00000003 " + interface + "\n");
    }

    std::string ipv4(const std::string& interface) const {
        const auto found = addresses.find(interface);
        return found == addresses.end() ? "" : found->second;
    }

    std::vector<NetworkInterface> interfaces() const {
        return readNetworkInterfaces(path(), [this](const std::string& name) { return ipv4(name); });
    }

    const std::filesystem::path& path() const { return folder.path(); }

private:
    velk::testing::TemporaryDirectory folder;
    std::map<std::string, std::string> addresses;
};

} // namespace velk::daemon
