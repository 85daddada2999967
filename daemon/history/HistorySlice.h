#pragma once

#include "daemon/history/SampleRing.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace velk::daemon {

/// What a channel holds, as the history sees it. The numbers are those of its file.
enum class HistoryKind : std::uint8_t {
    number = 0,
    state = 1, ///< one of a few, with names
    text = 2,  ///< texts, bytes and points in time
};

/// A number in one part of the time that was asked for. A plain value.
struct HistoryColumn {
    double least{0.0};
    double mean{0.0}; ///< each value counts as long as it lasted
    double greatest{0.0};
    double last{0.0}; ///< at its end

    friend bool operator==(const HistoryColumn&, const HistoryColumn&) = default;
};

/// What the history knows of a channel between two moments. A plain value.
struct HistorySlice {
    HistoryKind kind{HistoryKind::text};
    std::int64_t fromMs{0};
    std::int64_t toMs{0};
    std::int64_t oldestMs{0}; ///< how far back anything is known of it
    /// Of a number: the parts of the time in their order; empty where nobody knows.
    std::vector<std::optional<HistoryColumn>> columns;
    std::optional<HistoryColumn> whole; ///< over all columns
    /// Of states and texts: what it was at `fromMs`, when that is known, and the changes since then.
    std::vector<Sample> changes;
    std::size_t leftOut{0}; ///< older changes than these
};

} // namespace velk::daemon
