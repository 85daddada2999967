#pragma once

#include "platform/qz/CValue.h"
#include "platform/qz/datatype.h"

#include <cstddef>
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

namespace velk::cli {

/// What the daemon knows of the past of one data point. A plain value.
struct HistoryAnswer {
    /// A number in one part of the time.
    struct Column {
        double least{0.0};
        double mean{0.0}; ///< each value counts as long as it lasted
        double greatest{0.0};
        double last{0.0};
    };

    /// A state or a text from this moment on.
    struct Change {
        std::int64_t timeMs{0}; ///< milliseconds since 1970 UTC
        qz::CValue value;       ///< invalid: nobody knows
    };

    bool enabled{false}; ///< false: the daemon keeps no history, and nothing of the following counts
    bool known{false};   ///< false: nothing is known of the data point; likewise
    std::string kind;    ///< "number", "state", "text"
    std::int64_t fromMs{0};
    std::int64_t toMs{0};
    std::int64_t oldestMs{0};
    std::vector<std::optional<Column>> columns; ///< of a number: equal parts of the time
    std::optional<Column> whole;                ///< over all of them
    std::vector<Change> changes;                ///< of all others, the oldest first
    std::size_t leftOut{0};                     ///< older changes than these

    /// When part `index` begins; `columns.size()` is the end.
    std::int64_t beginOf(std::size_t index) const;

    /// Of a channel of `type`. Empty for what is no answer.
    static std::optional<HistoryAnswer> parse(const nlohmann::ordered_json& json, qz::datatype type);
};

} // namespace velk::cli
