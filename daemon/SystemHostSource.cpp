#include "daemon/SystemHostSource.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <utility>

namespace velk::daemon {

namespace {

namespace fs = std::filesystem;

/// What manufacturers leave in the firmware of a machine that has no name.
constexpr auto namesOfNothing = std::to_array<const char*>(
    {"", "To Be Filled By O.E.M.", "To be filled by O.E.M.", "System Product Name", "Default string",
     "Not Specified", "Not Applicable", "None", "N/A", "Unknown", "O.E.M."});

/// The first line, without blanks around it and without the zero byte that ends a text of the device tree.
std::string textOfFile(const fs::path& file) {
    std::ifstream stream{file};
    std::string text;
    std::getline(stream, text);
    text.erase(std::find(text.begin(), text.end(), '\0'), text.end());
    const std::size_t begin = text.find_first_not_of(" \t\r");
    return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(" \t\r") - begin + 1);
}

std::string nameFromFirmware(const fs::path& root) {
    for (const char* file : {"sys/class/dmi/id/product_name", "proc/device-tree/model"}) {
        std::string name = textOfFile(root / file);
        if (std::find(namesOfNothing.begin(), namesOfNothing.end(), name) == namesOfNothing.end()) {
            return name;
        }
    }
    return "";
}

/// As a shell reads it, as far as files of this kind make use of that.
std::string unquoted(std::string text) {
    const bool isQuoted =
        text.size() >= 2 && (text.front() == '"' || text.front() == '\'') && text.back() == text.front();
    if (isQuoted) {
        text = text.substr(1, text.size() - 2);
    }
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 1 < text.size()) {
            ++i;
        }
        plain += text[i];
    }
    return plain;
}

std::vector<std::string> linesOf(const fs::path& file) {
    std::vector<std::string> lines;
    std::ifstream stream{file};
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// The value of `name` in lines of the form NAME=VALUE; empty for none.
std::string valueIn(const std::vector<std::string>& lines, const std::string& name) {
    for (const std::string& line : lines) {
        if (line.starts_with(name + "=") && line.size() > name.size() + 1) {
            return unquoted(line.substr(name.size() + 1));
        }
    }
    return "";
}

/// The value of the first of the names that the description of the operating system has; empty for none.
std::string fromOsRelease(const fs::path& root, const std::vector<std::string>& names) {
    for (const char* file : {"etc/os-release", "usr/lib/os-release"}) {
        const std::vector<std::string> lines = linesOf(root / file);
        for (const std::string& name : names) {
            std::string value = valueIn(lines, name);
            if (!value.empty()) {
                return value;
            }
        }
    }
    return "";
}

} // namespace

SystemHostSource::SystemHostSource(HostSettings chosen, fs::path folder, Ipv4Lookup lookup) :
    settings{std::move(chosen)}, root{std::move(folder)}, ipv4{std::move(lookup)} {}

IHostSource::Reading SystemHostSource::read() {
    Reading reading;
    addAddresses(reading);
    HostFacts& facts = reading.facts;
    facts.productName = settings.productName;
    if (facts.productName.empty()) {
        facts.productName = nameFromFirmware(root);
    }
    if (facts.productName.empty()) {
        facts.productName = fromOsRelease(root, {"NAME", "ID"});
    }
    facts.firmwareVersion = settings.firmwareVersion;
    if (facts.firmwareVersion.empty()) {
        facts.firmwareVersion = fromOsRelease(root, {"IMAGE_VERSION", "VERSION_ID", "BUILD_ID"});
    }
    return reading;
}

void SystemHostSource::addAddresses(Reading& reading) const {
    const std::vector<NetworkInterface> interfaces = readNetworkInterfaces(root, ipv4);
    const NetworkInterface* chosen = mainInterface(interfaces);
    if (!settings.interface.empty()) {
        const auto named =
            std::find_if(interfaces.begin(), interfaces.end(),
                         [this](const NetworkInterface& each) { return each.name == settings.interface; });
        chosen = named == interfaces.end() ? nullptr : &*named;
        if (chosen == nullptr) {
            reading.trouble = "the network interface " + settings.interface +
                              " is not there; the device is told no address of this host until it is";
        }
    }
    if (chosen != nullptr) {
        reading.facts.macAddress = chosen->macAddress;
        reading.facts.ipv4Address = chosen->ipv4Address;
        reading.facts.ipv6Address = chosen->ipv6Address;
    }
}

} // namespace velk::daemon
