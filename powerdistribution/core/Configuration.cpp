#include "powerdistribution/core/Configuration.h"

#include "platform/common/Arguments.h"
#include "platform/common/lwjson/Deserializer.h"

#include <fstream>
#include <iostream>
#include <sstream>

namespace velk::powerdistribution {

using velk::common::lwjson::Deserializer;
using velk::common::lwjson::ValueType;

Configuration::Configuration() : Configuration{"", {}} {}

Configuration::Configuration(const std::string& startPath, const Arguments& arguments) :
    path{startPath},
    maxThreads{velk::common::get<unsigned int>(arguments, "maxThreads", 5)},
    maxCpuLoad{velk::common::get<unsigned int>(arguments, "maxCpuLoadPercent", 10)},
    maxRestTime{velk::common::get<unsigned int>(arguments, "maxRestTimeMs", 1000)} {}

Configuration Configuration::load(const std::string& path) {
    try {
        std::ifstream file{path};
        if (file) {
            std::ostringstream text;
            text << file.rdbuf();
            return Configuration{path, loadArgs(Deserializer{text.str()})};
        }
    } catch (const std::exception& failure) {
        std::cerr << std::string{"Failed to load configuration file (json): "} + failure.what() + "\n";
    }
    return Configuration{path, {}};
}

Configuration::Arguments loadArgs(const Deserializer& json) {
    Configuration::Arguments arguments;
    for (const auto& member : json.members()) {
        const ValueType kind = member.getValueType();
        if (kind != ValueType::Object && kind != ValueType::Array) {
            arguments.emplace(member.name(), member.text());
        }
    }
    return arguments;
}

std::ostream& operator<<(std::ostream& stream, const Configuration& configuration) {
    return stream << "Configuration("
                  << "maxThreads=" << configuration.maxThreads << "maxCpuLoad=" << configuration.maxCpuLoad
                  << " %"
                  << "maxRestTime=" << configuration.maxRestTime << " Ms"
                  << ")";
}

} // namespace velk::powerdistribution
