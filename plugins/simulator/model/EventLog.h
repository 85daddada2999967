#pragma once

#include "powerdistribution/core/InternalLogChunk.h"

#include <cstddef>
#include <cstdint>
#include <deque>

namespace velk::simulator {

/// The event log of a device: a ring that holds the newest entries. Numbers rise by one from 1.
class EventLog {
public:
    using Entry = powerdistribution::InternalLogChunk::InternalLogEntry;
    using Chunk = powerdistribution::InternalLogChunk;

    /// `capacity` entries are kept, a chunk has at most `chunkSize` of them; both at least 1.
    EventLog(std::size_t capacity, std::size_t chunkSize);

    /// Appends `entry` under the next number, whatever number it has; the oldest goes when the ring is full.
    void add(Entry entry);

    /// Number of the newest entry; 0 before any.
    std::uint32_t topId() const;
    const std::deque<Entry>& entries() const { return kept; }
    std::size_t capacity() const { return most; }

    /// The oldest kept entries with a number above `id`. A reader that was too slow misses what is gone.
    Chunk chunkAfter(std::uint32_t id) const;

    /// Begins the numbers again at 1 with the next entry and forgets all entries, as a device does whose log
    /// is cleared or whose counter has run over.
    void restart();

private:
    const std::size_t most;
    const std::size_t perChunk;
    std::deque<Entry> kept;
    std::uint32_t next{1};
};

} // namespace velk::simulator
