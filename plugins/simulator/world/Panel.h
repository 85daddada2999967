#pragma once

#include "plugins/simulator/world/Command.h"
#include "plugins/simulator/world/SimulatedDevice.h"

#include <string>

namespace velk::simulator {

/// Does to the device itself what somebody could do who stands before it, whatever the link is like. Each
/// operation gives the members of the answer, such as `,"value":230`, and throws std::invalid_argument that
/// tells what was wrong and what was expected; nothing has changed then.
/// Threads: as `SimulatedDevice`.
class Panel {
public:
    explicit Panel(SimulatedDevice& target) : device{target} {}

    std::string carryOut(const MainsOrder& order);
    std::string carryOut(const LoadOrder& order);
    std::string carryOut(const BatteryOrder& order);
    std::string carryOut(const IdentityOrder& order);
    std::string carryOut(const SetCommand& command);
    std::string carryOut(const ActionCommand& command);
    std::string carryOut(const GetCommand& command);
    std::string carryOut(const PointsCommand& command);
    std::string carryOut(const LogCommand& command);
    std::string carryOut(const CountsCommand& command);

private:
    SimulatedDevice& device;
};

} // namespace velk::simulator
