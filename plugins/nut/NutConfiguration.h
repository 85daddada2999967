#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace velk::nut {

/// The member "nut" of the configuration file. A plain value.
struct NutConfiguration {
    std::string host{"127.0.0.1"};
    std::uint16_t port{3493};
    std::string ups;      ///< the device's name at the server
    std::string user;     ///< empty: nothing can be set or commanded
    std::string password; ///< the first line of the file "passwordFile", which others cannot read
    std::chrono::milliseconds pollInterval{1000};
    std::string alarmFile; ///< path; empty for none

    /// Reads the configuration file. Empty when it has no member "nut". Paths in it are relative to its
    /// folder. Throws std::runtime_error "FILE:LINE:COLUMN: ..." for a member that is not as it must be.
    static std::optional<NutConfiguration> load(const std::string& path);

    /// "u1@127.0.0.1:3493", for people.
    std::string deviceName() const;
};

} // namespace velk::nut
