#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velk::cli {

/// The newest part of the device's own event log, as the daemon notes it in the store. A plain value.
struct DeviceLog {
    /// The channel of the daemon's own device that holds it.
    static constexpr const char* CHANNEL = "Daemon.DeviceLog";

    /// One event. The meanings of the numbers are the device's.
    struct Entry {
        std::uint64_t sequence{0}; ///< counts the events as they came; never falls
        std::uint32_t id{0};       ///< the device's own number
        std::int64_t timeMs{0};    ///< by the device's clock: milliseconds since 1970 UTC
        std::int64_t severity{0};
        std::uint32_t code{0};
        std::uint32_t status{0};
        std::uint32_t mode{0};
        std::uint32_t reason{0};
        std::uint32_t data{0};
    };

    /// Empty, with the reason in `why`, for a text that is no log.
    static std::optional<DeviceLog> parse(std::string_view json, std::string& why);

    std::string device;           ///< the Uuid of the device whose log it is
    std::vector<Entry> entries;   ///< oldest first
    std::size_t unreadable{0};    ///< entries that are none
    std::string error;            ///< why the device's log could not be read last; empty when it could
    std::int64_t errorSinceMs{0}; ///< since when
};

/// With `sequence`, `id`, `time`, `severity`, `code`, `status`, `mode`, `reason` and `data`.
nlohmann::ordered_json jsonOf(const DeviceLog::Entry& entry);

} // namespace velk::cli
