#include "daemon/history/Resampler.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velk::daemon {

namespace {

constexpr std::int64_t END_OF_TIME = std::numeric_limits<std::int64_t>::max();

HistoryColumn constant(double value) {
    return {value, value, value, value};
}

/// Gathers what falls into one column.
class ColumnSum {
public:
    void add(const HistoryColumn& was, std::int64_t lengthMs) {
        column.least = any ? std::min(column.least, was.least) : was.least;
        column.greatest = any ? std::max(column.greatest, was.greatest) : was.greatest;
        column.last = was.last;
        plainSum += was.mean;
        ++count;
        sum += was.mean * static_cast<double>(lengthMs);
        coveredMs += static_cast<double>(lengthMs);
        any = true;
    }

    std::optional<HistoryColumn> result() const {
        if (!any) {
            return std::nullopt;
        }
        HistoryColumn made = column;
        made.mean =
            std::clamp(coveredMs > 0.0 ? sum / coveredMs : plainSum / count, made.least, made.greatest);
        return made;
    }

private:
    HistoryColumn column;
    double sum{0.0};
    double plainSum{0.0};
    double count{0.0};
    double coveredMs{0.0};
    bool any{false};
};

} // namespace

Resampler::Resampler(const std::vector<Sample>& samples, const std::vector<Aggregate>& steps) {
    std::vector<Aggregate> sorted = steps;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const Aggregate& a, const Aggregate& b) { return a.beginMs < b.beginMs; });
    addSteps(sorted, samples.empty() ? END_OF_TIME : samples.front().timeMs);
    addSamples(samples);
}

/// Until the changes tell more exactly.
void Resampler::addSteps(const std::vector<Aggregate>& steps, std::int64_t untilMs) {
    for (std::size_t i = 0; i < steps.size() && steps[i].beginMs < untilMs; ++i) {
        const Aggregate& step = steps[i];
        const std::int64_t endMs = std::min(step.endMs, untilMs);
        addPiece(step.beginMs, endMs, {step.least, step.mean, step.greatest, step.last.value_or(step.mean)});
        const std::int64_t nextMs = i + 1 < steps.size() ? steps[i + 1].beginMs : untilMs;
        if (step.last && nextMs > endMs && endMs < untilMs) {
            addPiece(endMs, std::min(nextMs, untilMs), constant(*step.last));
        }
    }
}

void Resampler::addSamples(const std::vector<Sample>& samples) {
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const std::optional<double> number = samples[i].value.asNumber();
        if (number && std::isfinite(*number)) {
            addPiece(samples[i].timeMs, i + 1 < samples.size() ? samples[i + 1].timeMs : END_OF_TIME,
                     constant(*number));
        }
    }
}

void Resampler::addPiece(std::int64_t beginMs, std::int64_t endMs, const HistoryColumn& was) {
    pieces.push_back({beginMs, std::max(beginMs, endMs), was});
}

void Resampler::fill(HistorySlice& slice, std::size_t columns) const {
    const std::int64_t lengthMs = slice.toMs - slice.fromMs;
    const auto parts = static_cast<std::int64_t>(columns);
    const auto columnOf = [&](std::int64_t timeMs) {
        const double share = static_cast<double>(timeMs - slice.fromMs) / static_cast<double>(lengthMs);
        return std::clamp(static_cast<std::int64_t>(share * static_cast<double>(parts)), std::int64_t{0},
                          parts - 1);
    };
    slice.columns.assign(columns, std::nullopt);
    if (lengthMs <= 0 || parts == 0) {
        return;
    }
    const auto borderOf = [&](std::int64_t column) {
        return slice.fromMs +
               static_cast<std::int64_t>(static_cast<double>(lengthMs) * static_cast<double>(column) /
                                         static_cast<double>(parts));
    };
    std::vector<ColumnSum> sums(columns);
    ColumnSum whole;
    for (const Piece& piece : pieces) {
        const std::int64_t beginMs = std::max(piece.beginMs, slice.fromMs);
        const std::int64_t endMs = std::min(piece.endMs, slice.toMs);
        const bool isOver = piece.beginMs < slice.fromMs && piece.endMs <= slice.fromMs;
        if (beginMs > endMs || isOver) {
            continue;
        }
        whole.add(piece.was, endMs - beginMs);
        for (std::int64_t column = columnOf(beginMs); column <= columnOf(endMs); ++column) {
            const std::int64_t from = std::max(beginMs, borderOf(column));
            const std::int64_t to = std::min(endMs, borderOf(column + 1));
            if (to > from || (beginMs == endMs && column == columnOf(beginMs))) {
                sums[static_cast<std::size_t>(column)].add(piece.was, std::max<std::int64_t>(to - from, 0));
            }
        }
    }
    for (std::size_t i = 0; i < columns; ++i) {
        slice.columns[i] = sums[i].result();
    }
    slice.whole = whole.result();
}

} // namespace velk::daemon
