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

    /// The newest of the notes on a data point; empty when there is none.
    static std::optional<JournalEntry> newestOf(const std::vector<JournalEntry>& notes,
                                                const std::string& device, const std::string& channel);

    /// The notes of an array in their order; those that are none are left out.
    static std::vector<JournalEntry> parseAll(std::string_view json);

    std::uint64_t sequence{0};
    std::string device;  ///< "Outlets.1"; empty for the device itself
    std::string channel; ///< "Setting.AutomaticSwitchOffDelay"
    std::string asked;   ///< as `qz::CValue` prints it
    bool accepted{false};
    std::optional<std::string> error;
    std::string time; ///< ISO 8601, UTC

    /// When the store's channel got a value that the device refused: milliseconds since 1970 by the clock of
    /// who wrote it; empty when the daemon could not tell, and for a value that was accepted.
    std::optional<std::int64_t> changedMs;

    /// The program that asked for the write.
    struct Writer {
        std::string program; ///< "tess"
        std::string user;
        std::int64_t pid{0};
    };
    std::optional<Writer> by; ///< empty when nobody knows
};

} // namespace velk::cli
