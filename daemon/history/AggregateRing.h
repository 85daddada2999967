#pragma once

#include "daemon/history/ByteCoding.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace velk::daemon {

/// What a number was over a while. A plain value.
struct Aggregate {
    std::int64_t beginMs{0}; ///< milliseconds since 1970 UTC
    std::int64_t endMs{0};
    double least{0.0};
    double mean{0.0}; ///< each value counts as long as it lasted
    double greatest{0.0};
    std::optional<double> last; ///< what it was at the end; empty when nobody knows

    friend bool operator==(const Aggregate&, const Aggregate&) = default;
};

/// What a number was in each step of five minutes in which something came, newest last; in the steps without
/// one it was what it had been before. About 17 bytes a step of floats, 33 of other numbers.
///
/// Times need not rise: a clock that is set back begins an earlier step once more.
class AggregateRing {
public:
    static constexpr std::int64_t STEP_MS = std::int64_t{5} * 60 * 1000;

    /// `narrow`: floats keep all that the numbers have.
    explicit AggregateRing(bool narrowNumbers) : narrow{narrowNumbers} {}

    /// Empty when nobody knows from here on.
    void add(std::int64_t timeMs, std::optional<double> value);

    /// Forgets the steps that ended before it; the newest stays.
    void dropBefore(std::int64_t timeMs);

    /// In the order in which they came; the last one is the present step as far as it has come.
    std::vector<Aggregate> aggregates() const;

    /// When the oldest begins, or the first value came.
    std::int64_t oldestMs() const;

    std::size_t heapBytes() const { return bytes.capacity(); }

    /// Its content, for a file. `load` throws std::runtime_error for anything else than `save` has written.
    void save(ByteVector& file) const;
    void load(ByteReader& file);

private:
    /// The step in which something comes now.
    struct Present {
        std::int64_t step{0};
        std::int64_t timeMs{0};    ///< of the last value
        std::int64_t coveredMs{0}; ///< how much of the step is known
        double sum{0.0};           ///< values times milliseconds
        double least{0.0};
        double greatest{0.0};
        std::optional<double> last;
        bool any{false}; ///< `least` and `greatest` are ones
    };

    void lastUntil(std::int64_t timeMs);
    void note(double value);
    void finish();
    Aggregate aggregateOf(const Present& state, std::int64_t endMs) const;
    std::int64_t beginOf(std::int64_t step) const;
    double rounded(double value) const { return narrow ? static_cast<float>(value) : value; }
    void putNumber(double value);
    double takeNumber(ByteReader& reader) const;
    Aggregate next(ByteReader& reader, std::int64_t& step) const;
    std::int64_t lastStepOf(std::string_view content) const;

    bool narrow;
    bool begun{false};
    std::int64_t firstMs{0}; ///< when the very first value came: before it nothing is known of its step
    Present present;
    std::int64_t frontStep{0}; ///< of the oldest one in `bytes`
    std::int64_t backStep{0};  ///< of the newest one there
    std::uint32_t count{0};
    std::size_t head{0};
    ByteVector bytes;
};

} // namespace velk::daemon
