#pragma once

#include "daemon/history/AggregateRing.h"
#include "daemon/history/HistorySlice.h"
#include "daemon/history/SampleRing.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace velk::daemon {

/// Tells what a number was in equal parts of any time, from its changes as far back as there are any, and
/// from the five-minute steps before.
class Resampler {
public:
    /// `samples` by their times.
    Resampler(const std::vector<Sample>& samples, const std::vector<Aggregate>& steps);

    /// Fills in the columns between the slice's moments, and the whole. The newest value lasts until the end.
    void fill(HistorySlice& slice, std::size_t columns) const;

private:
    /// A while in which the number is known to have been within bounds.
    struct Piece {
        std::int64_t beginMs{0};
        std::int64_t endMs{0}; ///< a piece without length counts in the column in which it lies
        HistoryColumn was;
    };

    void addSteps(const std::vector<Aggregate>& steps, std::int64_t untilMs);
    void addSamples(const std::vector<Sample>& samples);
    void addPiece(std::int64_t beginMs, std::int64_t endMs, const HistoryColumn& was);

    std::vector<Piece> pieces; ///< by their beginnings
};

} // namespace velk::daemon
