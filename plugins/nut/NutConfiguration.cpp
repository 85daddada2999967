#include "plugins/nut/NutConfiguration.h"

#include "platform/common/SecretFile.h"
#include "platform/common/lwjson/Deserializer.h"
#include "platform/common/lwjson/JsonError.h"
#include "plugins/nut/ProtocolLine.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace velk::nut {

using velk::common::lwjson::Deserializer;
using velk::common::lwjson::JsonError;
using velk::common::lwjson::Node;
using velk::common::lwjson::ValueType;

namespace {

// The server drops a client that is silent for a minute.
constexpr std::uint32_t SHORTEST_INTERVAL_MS = 100;
constexpr std::uint32_t LONGEST_INTERVAL_MS = 30000;

[[noreturn]] void refuse(const Node& node, const std::string& reason) {
    throw JsonError{node.position(), "\"" + node.name() + "\" " + reason};
}

std::string textOf(const Node& node) {
    const std::string& text = node.asString();
    if (text.empty()) {
        refuse(node, "is empty");
    }
    return text;
}

/// A text that travels in a line of the protocol.
std::string wordOf(const Node& node) {
    std::string text = textOf(node);
    if (!isSafeValue(text) || text.find(' ') != std::string::npos) {
        refuse(node, "must not hold blanks, quotes, backslashes or '#'");
    }
    return text;
}

std::uint32_t numberOf(const Node& node, std::uint32_t least, std::uint32_t most) {
    const std::uint32_t number = node.asUint32();
    if (number < least || number > most) {
        refuse(node,
               "is " + node.text() + ", expected " + std::to_string(least) + " to " + std::to_string(most));
    }
    return number;
}

std::string pathOf(const Node& node, const std::filesystem::path& folder) {
    return (folder / textOf(node)).lexically_normal().string();
}

std::string passwordOf(const Node& node, const std::filesystem::path& folder) {
    const std::string path = pathOf(node, folder);
    std::string password;
    try {
        password = velk::common::SecretFile::read(path);
    } catch (const std::runtime_error& refusal) {
        refuse(node, std::string{"gives no password: "} + refusal.what());
    }
    if (!isSafeValue(password)) {
        refuse(node, "names " + path + ", whose first line is no password that the server takes");
    }
    return password;
}

void take(NutConfiguration& configuration, const Node& node, const std::filesystem::path& folder) {
    const std::string& name = node.name();
    if (name == "host") {
        configuration.host = wordOf(node);
    } else if (name == "port") {
        configuration.port = static_cast<std::uint16_t>(numberOf(node, 1, 65535));
    } else if (name == "ups") {
        configuration.ups = wordOf(node);
    } else if (name == "user") {
        configuration.user = wordOf(node);
    } else if (name == "passwordFile") {
        configuration.password = passwordOf(node, folder);
    } else if (name == "pollIntervalMs") {
        configuration.pollInterval =
            std::chrono::milliseconds{numberOf(node, SHORTEST_INTERVAL_MS, LONGEST_INTERVAL_MS)};
    } else if (name == "alarmFile") {
        configuration.alarmFile = pathOf(node, folder);
    } else {
        refuse(node, "is unknown, expected \"host\", \"port\", \"ups\", \"user\", \"passwordFile\", "
                     "\"pollIntervalMs\" or \"alarmFile\"");
    }
}

NutConfiguration read(const Node& section, const std::filesystem::path& folder) {
    if (section.getValueType() != ValueType::Object) {
        refuse(section, "must be an object");
    }
    NutConfiguration configuration;
    for (const Node& member : section.members()) {
        take(configuration, member, folder);
    }
    if (configuration.ups.empty()) {
        refuse(section, "needs a member \"ups\", the device's name at the server");
    }
    if (configuration.user.empty() != configuration.password.empty()) {
        refuse(section, "needs both of \"user\" and \"passwordFile\" or none");
    }
    return configuration;
}

} // namespace

std::optional<NutConfiguration> NutConfiguration::load(const std::string& path) {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(path, ignored)) {
        return std::nullopt;
    }
    std::ostringstream text;
    text << std::ifstream{path}.rdbuf();
    try {
        const Deserializer json{text.str()};
        const Node* section = json.findMember("nut");
        if (section == nullptr) {
            return std::nullopt;
        }
        return read(*section, std::filesystem::path{path}.parent_path());
    } catch (const JsonError& failure) {
        throw std::runtime_error{path + ":" + std::to_string(failure.position().line) + ":" +
                                 std::to_string(failure.position().column) + ": " + failure.reason()};
    }
}

std::string NutConfiguration::deviceName() const {
    return ups + "@" + host + ":" + std::to_string(port);
}

} // namespace velk::nut
