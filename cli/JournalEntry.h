#pragma once

#include "platform/common/Uuid.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velk::cli {

/// What the daemon notes of one write to the device. A plain value.
struct JournalEntry {
    /// The channels of the daemon's own device: the newest note, and an array of the last ones, oldest first.
    static constexpr const char* LAST_WRITE = "Daemon.LastWrite";
    static constexpr const char* WRITES = "Daemon.Writes";

    /// The daemon's own device in the store.
    static velk::common::Uuid deviceUuid();

    /// Empty for a text that is no note.
    static std::optional<JournalEntry> parse(std::string_view json);

    /// The notes of an array in their order; those that are none are left out.
    static std::vector<JournalEntry> parseAll(std::string_view json);

    std::uint64_t sequence{0};
    std::string device;  ///< "Outlets.1"; empty for the device itself
    std::string channel; ///< "Setting.AutomaticSwitchOffDelay"
    std::string asked;   ///< as `qz::CValue` prints it
    bool accepted{false};
    std::optional<std::string> error;
    std::string time; ///< ISO 8601, UTC
};

} // namespace velk::cli
