#pragma once

#include "platform/common/Uuid.h"
#include "plugins/simulator/model/DeviceDescription.h"
#include "plugins/simulator/world/Fault.h"
#include "plugins/simulator/world/Scenario.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace velk::simulator {

/// The plug-in's member of the configuration file. A plain value.
///
/// A plug-in is told the path of the whole configuration file and reads its own member of it. Ours is named
/// as the plug-in's file, so that a copy of it is another plug-in with a member of its own.
struct SimulatorConfiguration {
    std::string section;     ///< the member's name
    velk::common::Uuid uuid; ///< of the protocol
    DeviceDescription device;
    double speed{1};
    std::chrono::milliseconds tick{100};
    std::uint32_t seed{1};
    std::string control; ///< path of the socket; empty for none
    std::optional<Scenario> scenario;
    std::vector<std::filesystem::path> scenarioFolders;
    std::vector<Fault> faults;
    std::chrono::milliseconds timeout{500};
    std::string alarmFile; ///< path; empty for none

    /// Reads the configuration file. Empty when it has no member `section`. Throws std::runtime_error
    /// "FILE:LINE:COLUMN: ..." for a member that is not as it must be, also for those of the files it names.
    static std::optional<SimulatorConfiguration> load(const std::string& path, const std::string& section);
};

} // namespace velk::simulator
