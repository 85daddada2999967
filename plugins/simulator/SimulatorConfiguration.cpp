#include "plugins/simulator/SimulatorConfiguration.h"

#include "platform/common/UnixTime.h"
#include "platform/common/lwjson/JsonError.h"
#include "plugins/simulator/PluginFile.h"
#include "plugins/simulator/world/FileSearch.h"
#include "plugins/simulator/world/Members.h"

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/un.h>

namespace velk::simulator {

using velk::common::lwjson::Deserializer;
using velk::common::lwjson::JsonError;
using velk::common::lwjson::Node;
using velk::common::lwjson::ValueType;

namespace {

namespace fs = std::filesystem;

constexpr double HIGHEST_SPEED = 100'000;
constexpr std::uint32_t LONGEST_TICK_MS = 60'000;
constexpr std::uint32_t LONGEST_TIMEOUT_MS = 60'000;

fs::path resolved(const Node& node, const fs::path& folder) {
    return (folder / textOf(node)).lexically_normal();
}

/// A name is looked for among the devices; what has a slash or ends with ".json" is a path.
fs::path deviceFile(const Node& node, const fs::path& folder) {
    const std::string& text = textOf(node);
    const bool isPath = text.find('/') != std::string::npos || fs::path{text}.extension() == ".json";
    fs::path file = isPath ? resolved(node, folder) : findFile(text + ".json", deviceFolders(folder));
    std::error_code ignored;
    if (!fs::is_regular_file(file, ignored)) {
        refuse(node, "is \"" + text +
                         "\", expected the file of a device or the name of one, such as "
                         "\"ups-1ph\", \"ups-3ph\", \"ats\" or \"pdu-42\"");
    }
    return file;
}

velk::common::Uuid uuidOf(const Node& node) {
    try {
        return velk::common::Uuid{node.asString()};
    } catch (const std::invalid_argument&) {
        refuse(node, "is \"" + node.text() + "\", expected a Uuid of 36 characters");
    }
}

std::string controlPath(const Node& node, const fs::path& folder) {
    std::string path = resolved(node, folder).string();
    if (path.size() >= sizeof(sockaddr_un::sun_path)) {
        refuse(node, "is the socket " + path + ", whose path is too long");
    }
    return path;
}

std::vector<Fault> faultsOf(const Node& node) {
    if (node.getValueType() != ValueType::Array) {
        refuse(node, "must be an array of faults");
    }
    std::vector<Fault> faults;
    for (const Node& fault : node.members()) {
        faults.push_back(readFault(fault));
    }
    return faults;
}

void readTime(SimulatorConfiguration& configuration, Members& members) {
    if (const Node* speed = members.find("speed")) {
        configuration.speed = numberOf(*speed, 0, HIGHEST_SPEED);
    }
    if (const Node* tick = members.find("tickMs")) {
        configuration.tick = std::chrono::milliseconds{countOf(*tick, 1, LONGEST_TICK_MS)};
    }
    if (const Node* timeout = members.find("timeoutMs")) {
        configuration.timeout = std::chrono::milliseconds{countOf(*timeout, 1, LONGEST_TIMEOUT_MS)};
    }
    if (const Node* seed = members.find("seed")) {
        configuration.seed = seed->asUint32();
    }
}

SimulatorConfiguration read(const Node& section, const fs::path& folder) {
    Members members{section};
    SimulatorConfiguration configuration;
    configuration.section = section.name();
    configuration.uuid = protocolUuidOf(section.name());
    const Node& device = members.need("device", "the device's name or file");
    if (const Node* uuid = members.find("uuid")) {
        configuration.uuid = uuidOf(*uuid);
    }
    readTime(configuration, members);
    if (const Node* control = members.find("control")) {
        configuration.control = controlPath(*control, folder);
    }
    const Node* scenario = members.find("scenario");
    if (const Node* faults = members.find("faults")) {
        configuration.faults = faultsOf(*faults);
    }
    const Node* alarms = members.find("alarmFile");
    members.finish();

    configuration.device = readDeviceFile(deviceFile(device, folder));
    // A device that lives in real time has its clock set; one that is moved by hand is the same in every run.
    if (configuration.speed > 0 && !configuration.device.hasOwnStart) {
        configuration.device.start = conv::UnixTime::now();
    }
    configuration.alarmFile =
        alarms != nullptr ? resolved(*alarms, folder).string() : configuration.device.alarmFile;
    configuration.scenarioFolders = scenarioFolders(folder);
    if (scenario != nullptr) {
        configuration.scenario = readScenario(findFile(textOf(*scenario), configuration.scenarioFolders));
    }
    return configuration;
}

} // namespace

std::optional<SimulatorConfiguration> SimulatorConfiguration::load(const std::string& path,
                                                                   const std::string& section) {
    std::error_code ignored;
    if (!fs::is_regular_file(path, ignored)) {
        return std::nullopt;
    }
    std::ostringstream text;
    text << std::ifstream{path}.rdbuf();
    try {
        const Deserializer json{text.str()};
        const Node* member = json.findMember(section);
        if (member == nullptr) {
            return std::nullopt;
        }
        return read(*member, fs::path{path}.parent_path());
    } catch (const JsonError& failure) {
        throw std::runtime_error{path + ":" + std::to_string(failure.position().line) + ":" +
                                 std::to_string(failure.position().column) + ": " + failure.reason()};
    }
}

} // namespace velk::simulator
