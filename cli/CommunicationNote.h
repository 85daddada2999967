#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velk::cli {

/// What the daemon notes of a link that came or went. A plain value.
struct CommunicationNote {
    /// The channel of the daemon's own device: an array of the last ones, oldest first.
    static constexpr const char* CHANNEL = "Daemon.Communication";

    /// The notes of an array in their order; those that are none are left out.
    static std::vector<CommunicationNote> parseAll(std::string_view json);

    std::int64_t timeMs{0}; ///< milliseconds since 1970 UTC
    std::string device;     ///< "BackupSystem.PowerBank"; empty for the device itself
    std::string state;      ///< "connected", "lost", "unknown", "stopped" (the daemon was ended)
};

} // namespace velk::cli
