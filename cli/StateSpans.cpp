#include "cli/StateSpans.h"

#include <algorithm>

namespace velk::cli {

StateSpans::StateSpans(const HistoryAnswer& answer, std::size_t columnsWanted) :
    fromMs{answer.fromMs}, toMs{answer.toMs}, columns{columnsWanted} {
    for (std::size_t i = 0; i < answer.changes.size(); ++i) {
        const HistoryAnswer::Change& change = answer.changes[i];
        const std::int64_t endMs = i + 1 < answer.changes.size() ? answer.changes[i + 1].timeMs : toMs;
        if (change.value.isValid()) {
            add(change.value, std::max(change.timeMs, fromMs), std::min(endMs, toMs));
        }
    }
}

void StateSpans::add(const qz::CValue& state, std::int64_t beginMs, std::int64_t endMs) {
    auto row = std::find_if(all.begin(), all.end(), [&](const Row& each) { return each.state == state; });
    if (row == all.end()) {
        row = all.insert(all.end(), Row{state, 0, 0, std::vector<std::int64_t>(columns, 0)});
    }
    ++row->times;
    const std::int64_t lengthMs = std::max<std::int64_t>(toMs - fromMs, 1);
    const auto parts = static_cast<std::int64_t>(columns);
    if (endMs <= beginMs) {
        return;
    }
    row->lastedMs += endMs - beginMs;
    // However far the moments lie apart, the product stays far below what a double tells exactly enough.
    const auto partOf = [&](std::int64_t timeMs) {
        const double share = static_cast<double>(timeMs - fromMs) / static_cast<double>(lengthMs);
        return std::clamp(static_cast<std::int64_t>(share * static_cast<double>(parts)), std::int64_t{0},
                          parts - 1);
    };
    for (std::int64_t part = partOf(beginMs); part <= partOf(endMs); ++part) {
        const std::int64_t partBegin = fromMs + lengthMs / parts * part + lengthMs % parts * part / parts;
        const std::int64_t partEnd =
            fromMs + lengthMs / parts * (part + 1) + lengthMs % parts * (part + 1) / parts;
        const std::int64_t within = std::min(endMs, partEnd) - std::max(beginMs, partBegin);
        row->inColumns[static_cast<std::size_t>(part)] += std::max<std::int64_t>(within, 0);
    }
}

std::int64_t StateSpans::knownMs() const {
    std::int64_t sum = 0;
    for (const Row& row : all) {
        sum += row.lastedMs;
    }
    return sum;
}

std::string StateSpans::line(const Row& row, bool unicode) const {
    std::string text;
    for (std::size_t i = 0; i < columns; ++i) {
        const std::int64_t own = row.inColumns[i];
        const bool isLongest =
            std::all_of(all.begin(), all.end(), [&](const Row& other) { return other.inColumns[i] <= own; });
        if (own == 0) {
            text += ' ';
        } else if (isLongest) {
            text += unicode ? "█" : "#";
        } else {
            text += unicode ? "▪" : "+";
        }
    }
    return text;
}

} // namespace velk::cli
