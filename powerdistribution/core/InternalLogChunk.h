#pragma once

#include "platform/common/Export.h"
#include "platform/common/UnixTime.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velk::powerdistribution {

/// A piece of the device's event log. A plain value.
class VELK_EXPORT InternalLogChunk {
public:
    /// One event. The meanings of `status`, `mode` and `reason` are the device's.
    struct VELK_EXPORT InternalLogEntry {
        std::uint32_t id{0}; ///< the entry's number, rising in the device's log
        std::uint16_t code{0};
        conv::UnixTime date;
        std::uint8_t status{0};
        std::uint16_t mode{0};
        std::uint16_t reason{0};
        std::uint32_t data{0}; ///< carried, never printed
        std::int32_t severity{0};

        /// The column heads that stand above the lines of `toString` with the same prefix.
        static std::string header(const std::string& prefix);

        /// One line without line end: id, date, code, status, mode, reason, severity in fixed widths, filled
        /// with "0".
        std::string toString(const std::string& prefix) const;
        std::string toString() const { return toString("      "); }

        friend bool operator==(const InternalLogEntry&, const InternalLogEntry&) = default;
    };

    using Entries = std::vector<InternalLogEntry>;

    InternalLogChunk() = default;
    InternalLogChunk(Entries::const_iterator first, Entries::const_iterator last) : log{first, last} {}

    const Entries& entries() const { return log; }

    /// Required: writes "header\n" once and "toString\n" for each entry on the standard output, as a trace.
    std::string toString() const;

    friend bool operator==(const InternalLogChunk&, const InternalLogChunk&) = default;

private:
    Entries log;
};

} // namespace velk::powerdistribution
