#pragma once

#include "cli/HistoryAnswer.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace velk::cli {

/// How long a channel was in each of its states between two moments, and when.
class StateSpans {
public:
    struct Row {
        qz::CValue state;
        std::int64_t lastedMs{0};
        std::size_t times{0};                ///< how often it began
        std::vector<std::int64_t> inColumns; ///< how long in each part of the time
    };

    /// Of the changes of `answer`, in `columns` equal parts of its time.
    StateSpans(const HistoryAnswer& answer, std::size_t columns);

    /// In the order in which they came first; nobody knows is none of them.
    const std::vector<Row>& rows() const { return all; }

    /// All of them together.
    std::int64_t knownMs() const;

    /// A full block where the state lasted longest, a small one where it was there too, else blanks.
    std::string line(const Row& row, bool unicode) const;

private:
    void add(const qz::CValue& state, std::int64_t beginMs, std::int64_t endMs);

    std::int64_t fromMs;
    std::int64_t toMs;
    std::size_t columns;
    std::vector<Row> all;
};

} // namespace velk::cli
