#include "daemon/history/ChannelHistory.h"

#include "daemon/history/Resampler.h"
#include "daemon/history/ValueCoding.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace velk::daemon {

namespace {

/// Empty also for what is no number in the sense of arithmetic.
std::optional<double> finiteNumber(const qz::CValue& value) {
    const std::optional<double> number = value.asNumber();
    return number && std::isfinite(*number) ? number : std::nullopt;
}

bool isNarrow(qz::datatype type) {
    return type == qz::datatype::float32;
}

} // namespace

ChannelHistory::ChannelHistory(HistoryKind kindOfChannel, qz::datatype typeOfChannel) :
    kindOf{kindOfChannel}, typeOf{typeOfChannel}, changes{typeOfChannel} {}

bool ChannelHistory::add(std::int64_t timeMs, const qz::CValue& value, const HistorySpans& spans) {
    qz::CValue next = kept(typeOf, value);
    if (suspended) {
        *suspended = std::move(next);
        return false;
    }
    if (next == present) {
        return false; // also the unknown at the beginning
    }
    addToSteps(timeMs, next);
    changes.add(timeMs, next);
    present = std::move(next);
    changes.dropBefore(timeMs - (kindOf == HistoryKind::number ? spans.changesMs : spans.wholeMs));
    if (steps) {
        steps->dropBefore(timeMs - spans.wholeMs);
    }
    return true;
}

void ChannelHistory::suspend(std::int64_t timeMs, const HistorySpans& spans) {
    if (!suspended) {
        auto before = std::make_unique<qz::CValue>(present);
        add(timeMs, qz::CValue{}, spans);
        suspended = std::move(before);
    }
}

void ChannelHistory::resume(std::int64_t timeMs, const HistorySpans& spans) {
    if (const std::unique_ptr<qz::CValue> before = std::move(suspended)) {
        add(timeMs, *before, spans);
    }
}

void ChannelHistory::addToSteps(std::int64_t timeMs, const qz::CValue& value) {
    if (kindOf != HistoryKind::number || isEmpty()) {
        return;
    }
    if (!steps) {
        steps = std::make_unique<AggregateRing>(isNarrow(typeOf));
        steps->add(changes.newestMs(), finiteNumber(present));
    }
    steps->add(timeMs, finiteNumber(value));
}

void ChannelHistory::dropBefore(std::int64_t timeMs) {
    changes.dropBefore(timeMs);
    if (steps) {
        steps->dropBefore(timeMs);
    }
}

HistorySlice ChannelHistory::slice(std::int64_t fromMs, std::int64_t toMs, std::size_t columns) const {
    HistorySlice slice;
    slice.kind = kindOf;
    slice.fromMs = fromMs;
    slice.toMs = std::max(fromMs, toMs);
    slice.oldestMs = oldestMs();
    std::vector<Sample> samples = changes.samples();
    // After a clock was set back the order of the stamps is what can be shown.
    std::stable_sort(samples.begin(), samples.end(),
                     [](const Sample& a, const Sample& b) { return a.timeMs < b.timeMs; });
    if (kindOf == HistoryKind::number) {
        const Resampler resampler{samples, steps ? steps->aggregates() : std::vector<Aggregate>{}};
        resampler.fill(slice, columns);
        return slice;
    }
    const auto later =
        std::upper_bound(samples.begin(), samples.end(), fromMs,
                         [](std::int64_t moment, const Sample& sample) { return moment < sample.timeMs; });
    const auto first = later == samples.begin() ? later : std::prev(later);
    const auto end = std::find_if(first, samples.end(),
                                  [&slice](const Sample& sample) { return sample.timeMs > slice.toMs; });
    const auto found = static_cast<std::size_t>(end - first);
    slice.leftOut = found - std::min(found, columns);
    slice.changes.assign(first + static_cast<std::ptrdiff_t>(slice.leftOut), end);
    return slice;
}

std::int64_t ChannelHistory::oldestMs() const {
    return steps ? std::min(steps->oldestMs(), changes.oldestMs()) : changes.oldestMs();
}

std::size_t ChannelHistory::heapBytes() const {
    return changes.heapBytes() + (steps ? sizeof(AggregateRing) + steps->heapBytes() : 0) +
           (suspended ? sizeof(qz::CValue) : 0);
}

void ChannelHistory::save(ByteVector& file) const {
    changes.save(file);
    putRaw(file, static_cast<std::uint8_t>(steps ? 1 : 0));
    if (steps) {
        steps->save(file);
    }
}

void ChannelHistory::load(ByteReader& file) {
    ChannelHistory loaded{kindOf, typeOf};
    loaded.changes.load(file);
    if (file.raw<std::uint8_t>() != 0) {
        loaded.steps = std::make_unique<AggregateRing>(isNarrow(typeOf));
        loaded.steps->load(file);
    }
    if (const std::vector<Sample> samples = loaded.changes.samples(); !samples.empty()) {
        loaded.present = samples.back().value;
    }
    *this = std::move(loaded);
}

} // namespace velk::daemon
