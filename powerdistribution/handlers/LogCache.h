#pragma once

#include "powerdistribution/core/InternalLogChunk.h"

#include <cstdint>
#include <vector>

namespace velk::powerdistribution::handlers {

/// The events of the device's own log that were fetched so far, without limit.
/// Threads: none of its own.
class LogCache {
public:
    using InternalLogEntry = InternalLogChunk::InternalLogEntry;

    /// Does nothing.
    void init();

    /// Keeps `entry` as the last one, whatever its number, and prints it on the standard output.
    void append(const InternalLogEntry& entry);

    /// Drops the entries before the first one with a number of at least `id`; 0 drops all and forgets the
    /// numbers.
    void clear(unsigned int id);

    /// Prints the number of entries, the first and the last one on the standard output. Only for a cache that
    /// holds entries.
    void status() const;

    const std::vector<InternalLogEntry>& entries() const { return log; }
    std::uint32_t lastId() const { return last; } ///< number of the last appended entry; 0 before any
    std::uint32_t firstId() const {
        return first;
    } ///< where the kept entries begin: the oldest, or what `clear` asked for

private:
    std::vector<InternalLogEntry> log; ///< in the order of arrival
    std::uint32_t last{0};
    std::uint32_t first{0};
};

} // namespace velk::powerdistribution::handlers
