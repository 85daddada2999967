#pragma once

#include "platform/common/lwjson/Deserializer.h"
#include "plugins/simulator/model/Orders.h"
#include "plugins/simulator/world/Fault.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>

namespace velk::simulator {

// What can be done to the simulated device, as {"do": VERB, …} states it. Plain values.

/// A value as JSON has it; which type the device takes it for is the data point's affair.
using Scalar = std::variant<bool, std::int64_t, double, std::string>;

/// As if done at the device's own panel, whatever the link is like.
struct SetCommand {
    std::string path;
    Scalar value;
};

struct ActionCommand {
    std::string path;
};

struct GetCommand {
    std::string path;
};

struct PointsCommand {};

struct LogCommand {
    std::uint32_t add{0}; ///< entries to append
    bool wrap{false};     ///< whether every entry is to be written over
    bool restart{false};  ///< whether the log is to be emptied and numbered from 1
};

struct FaultCommand {
    Fault fault;
};

struct ClearCommand {
    std::optional<FaultKind> kind; ///< empty: all
};

struct CountsCommand {
    std::map<std::string, std::uint32_t> counts; ///< by the collection's path, such as "Outlets"
};

struct AdvanceCommand {
    std::chrono::milliseconds time{0}; ///< simulated
};

struct SpeedCommand {
    double factor{1};
};

struct PlayCommand {
    std::string scenario; ///< the file
};

struct SayCommand {
    std::string text;
};

/// Asks how time, link, faults and scenario stand.
struct StatusCommand {};

/// Asks to be sent the headlines of the scenario as they come, beginning with number `from`.
struct FollowCommand {
    std::uint32_t from{0}; ///< 0: also what was said before, so that a late client knows the story
};

/// What is done to the device itself.
using PanelCommand = std::variant<MainsOrder, LoadOrder, BatteryOrder, IdentityOrder, SetCommand,
                                  ActionCommand, GetCommand, PointsCommand, LogCommand, CountsCommand>;

using Command = std::variant<PanelCommand, FaultCommand, ClearCommand, AdvanceCommand, SpeedCommand,
                             PlayCommand, SayCommand, StatusCommand, FollowCommand>;

/// Reads a command from a JSON object. Throws JsonError that names the member, and what was expected.
Command readCommand(const velk::common::lwjson::Node& node);

/// The command of a scenario's step, whose members "at" and "say" are passed over. Empty for a step that
/// only says something. Throws JsonError, also for a command that only a client can give.
std::optional<Command> readStepCommand(const velk::common::lwjson::Node& node);

} // namespace velk::simulator
