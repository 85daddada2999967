#pragma once

#include "platform/common/lwjson/Deserializer.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace velk::simulator {

/// What can be wrong with the device, with the link to it, or with the plug-in.
enum class FaultKind : std::uint8_t {
    LinkLost,
    Silent,
    Slow,
    Flapping,
    WrongAlternative,
    Garbage,
    Throw,
    RefuseWrites,
    NoIdentity,
    Bootloader,
    NotFound,
};

/// The operations of the plug-in that can be made to fail with an exception.
enum class Operation : std::uint8_t {
    Create,
    Start,
    Stop,
    Discover,
    Disconnect,
    CommunicationStatus,
    Builder,
    WrapperFactory,
    BuildWrapper,
    IsReadable,
    IsWritable,
    Read,
    Write,
    DataConfig,
};

/// One fault as a command, a scenario or the configuration states it. A plain value.
struct Fault {
    FaultKind kind{FaultKind::LinkLost};
    std::chrono::milliseconds time{0};    ///< `Slow`: a read's length; `Flapping`: half a period, simulated
    std::string path;                     ///< of data points, `*` for any text; empty for all
    Operation operation{Operation::Read}; ///< `Throw` alone, as is what follows
    std::optional<std::uint32_t> times;   ///< how often; empty for always
    std::string what;                     ///< the exception's text
    bool isStandard{true};                ///< whether the exception is derived from std::exception

    /// Whether the fault is about the data point of this text.
    bool concerns(const std::string& point) const;
};

class Members;

/// Reads {"kind": …, …}. Throws JsonError.
Fault readFault(const velk::common::lwjson::Node& node);
/// The same from an object of which some members are read already; the caller calls `finish`.
Fault readFault(Members& members);
FaultKind readFaultKind(const velk::common::lwjson::Node& node);

/// The word of the kind, as in the configuration.
std::string to_string(FaultKind kind);
/// Likewise of the operation.
std::string to_string(Operation operation);

/// One line for people: "slow, 50 ms", "throw from read of Inputs.*, 2 times".
std::string describe(const Fault& fault);

} // namespace velk::simulator
