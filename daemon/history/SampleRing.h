#pragma once

#include "daemon/history/ByteCoding.h"
#include "platform/qz/CValue.h"
#include "platform/qz/datatype.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace velk::daemon {

/// A value and when it came. A plain value.
struct Sample {
    std::int64_t timeMs{0}; ///< milliseconds since 1970 UTC
    qz::CValue value;       ///< invalid: from here on nobody knows

    friend bool operator==(const Sample&, const Sample&) = default;
};

/// The changes of one channel with their times, newest last, in as few bytes as they take: a change of a
/// float every second takes 6 bytes, one of a state 3 or 4.
///
/// Times need not rise: a clock that is set back leaves the later stamps before the earlier ones.
class SampleRing {
public:
    /// No stamp is further from 1970 than this; one that is counts as this.
    static constexpr std::int64_t FURTHEST_MS = std::int64_t{1} << 60;

    static bool isWithin(std::int64_t timeMs) { return timeMs >= -FURTHEST_MS && timeMs <= FURTHEST_MS; }

    /// Of a channel of this type.
    explicit SampleRing(qz::datatype channelType) : type{channelType} {}

    /// `value` is what `kept` gives.
    void add(std::int64_t timeMs, const qz::CValue& value);

    /// Forgets the oldest ones as long as the one after them was there at `timeMs` already: what the value
    /// was then stays known.
    void dropBefore(std::int64_t timeMs);

    std::size_t size() const { return count; }

    /// Of the oldest and the newest; 0 when there is none.
    std::int64_t oldestMs() const { return frontMs; }
    std::int64_t newestMs() const { return backMs; }

    /// In the order in which they came.
    std::vector<Sample> samples() const;

    /// What it takes on the heap.
    std::size_t heapBytes() const { return bytes.capacity(); }

    /// Its content, for a file.
    void save(ByteVector& file) const;

    /// Takes over what `save` has written. Throws std::runtime_error for anything else.
    void load(ByteReader& file);

private:
    Sample next(ByteReader& reader, std::int64_t beforeMs) const;

    qz::datatype type;
    std::uint32_t count{0};
    std::size_t head{0};     ///< where the oldest begins in `bytes`
    std::int64_t frontMs{0}; ///< of the oldest; each says how much later it is than the one before it
    std::int64_t backMs{0};
    ByteVector bytes;
};

/// What stands from `from` on.
std::string_view viewOf(const ByteVector& bytes, std::size_t from);

/// Gives memory back that is no longer needed, and takes new in small steps.
void fitCapacity(ByteVector& bytes, std::size_t wanted);

/// Removes what stands before `head`, and sets that to 0, when it is worth moving the rest.
void dropHead(ByteVector& bytes, std::size_t& head);

} // namespace velk::daemon
