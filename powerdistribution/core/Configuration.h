#pragma once

#include "platform/common/Export.h"

#include <cstdint>
#include <ostream>
#include <string>
#include <unordered_map>

namespace velk::common::lwjson {
class Deserializer;
}

namespace velk::powerdistribution {

/// The numbers that size the scheduler, and the path by which the system was started. Read once and constant
/// after that.
class VELK_EXPORT Configuration {
public:
    using Arguments = std::unordered_map<std::string, std::string>;

    /// All defaults and an empty path.
    Configuration();

    /// Takes each number from `arguments` when its key is there; a text that is no number throws
    /// std::invalid_argument.
    Configuration(const std::string& path, const Arguments& arguments);

    /// Reads the JSON file `path`. A missing file gives the defaults silently; one that cannot be read as a
    /// configuration gives them too, with "Failed to load configuration file (json): " and the reason on the
    /// standard error. `path` is kept in both cases. Never throws a standard exception.
    static Configuration load(const std::string& path);

    std::string path;                ///< where the protocol libraries are told; empty for none
    std::uint32_t maxThreads{5};     ///< "maxThreads": workers of the scheduler
    std::uint32_t maxCpuLoad{10};    ///< "maxCpuLoadPercent": percent of one core
    std::uint32_t maxRestTime{1000}; ///< "maxRestTimeMs": longest rest between two cycles, in milliseconds
};

/// The top-level members that are plain values, as text; the first of several with one name counts.
VELK_EXPORT Configuration::Arguments loadArgs(const velk::common::lwjson::Deserializer& json);

/// Prints "Configuration(maxThreads=5maxCpuLoad=10 %maxRestTime=1000 Ms)".
VELK_EXPORT std::ostream& operator<<(std::ostream& stream, const Configuration& configuration);

} // namespace velk::powerdistribution
