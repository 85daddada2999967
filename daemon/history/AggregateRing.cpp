#include "daemon/history/AggregateRing.h"

#include "daemon/history/SampleRing.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace velk::daemon {

namespace {

constexpr double UNKNOWN = std::numeric_limits<double>::quiet_NaN();

std::int64_t stepOf(std::int64_t timeMs) {
    const std::int64_t step = timeMs / AggregateRing::STEP_MS;
    return timeMs < 0 && timeMs % AggregateRing::STEP_MS != 0 ? step - 1 : step;
}

} // namespace

void AggregateRing::add(std::int64_t stampMs, std::optional<double> value) {
    const std::int64_t timeMs = std::clamp(stampMs, -SampleRing::FURTHEST_MS, SampleRing::FURTHEST_MS);
    const std::int64_t step = stepOf(timeMs);
    if (!begun) {
        begun = true;
        firstMs = timeMs;
        present.step = step;
    } else if (step != present.step) {
        const bool forward = step > present.step;
        if (forward) {
            lastUntil((present.step + 1) * STEP_MS);
        }
        finish();
        const std::optional<double> before = forward ? present.last : std::nullopt;
        present = Present{};
        present.step = step;
        present.timeMs = step * STEP_MS;
        present.last = before;
        if (before && timeMs > present.timeMs) {
            note(*before);
        }
    }
    lastUntil(timeMs);
    present.last = value;
    if (value) {
        note(*value);
    }
}

/// The present value has lasted until then, unless that is before it came.
void AggregateRing::lastUntil(std::int64_t timeMs) {
    if (present.last && timeMs > present.timeMs) {
        const std::int64_t lasted = timeMs - present.timeMs;
        present.sum += *present.last * static_cast<double>(lasted);
        present.coveredMs += lasted;
    }
    present.timeMs = timeMs;
}

void AggregateRing::note(double value) {
    present.least = present.any ? std::min(present.least, value) : value;
    present.greatest = present.any ? std::max(present.greatest, value) : value;
    present.any = true;
}

void AggregateRing::finish() {
    if (!present.any) {
        return;
    }
    if (count == 0) {
        bytes.clear();
        head = 0;
        frontStep = present.step;
        backStep = present.step;
    }
    const Aggregate ended = aggregateOf(present, (present.step + 1) * STEP_MS);
    constexpr std::size_t largest = 10 + 4 * sizeof(double);
    fitCapacity(bytes, bytes.size() + largest);
    putVarint(bytes, zigzag(present.step - backStep));
    for (const double number : {ended.least, ended.mean, ended.greatest, ended.last.value_or(UNKNOWN)}) {
        putNumber(number);
    }
    backStep = present.step;
    ++count;
}

std::int64_t AggregateRing::beginOf(std::int64_t step) const {
    return step == stepOf(firstMs) ? firstMs : step * STEP_MS;
}

Aggregate AggregateRing::aggregateOf(const Present& state, std::int64_t endMs) const {
    Aggregate aggregate;
    aggregate.beginMs = beginOf(state.step);
    aggregate.endMs = endMs;
    aggregate.least = rounded(state.least);
    aggregate.greatest = rounded(state.greatest);
    const double mean = state.coveredMs > 0 ? state.sum / static_cast<double>(state.coveredMs)
                                            : state.last.value_or(state.greatest);
    aggregate.mean = std::clamp(rounded(mean), aggregate.least, aggregate.greatest);
    if (state.last) {
        aggregate.last = rounded(*state.last);
    }
    return aggregate;
}

void AggregateRing::putNumber(double value) {
    if (narrow) {
        putRaw(bytes, static_cast<float>(value));
    } else {
        putRaw(bytes, value);
    }
}

double AggregateRing::takeNumber(ByteReader& reader) const {
    return narrow ? reader.raw<float>() : reader.raw<double>();
}

/// `step` is that of the one before, and then of this one.
Aggregate AggregateRing::next(ByteReader& reader, std::int64_t& step) const {
    step += unzigzag(reader.varint());
    Aggregate aggregate;
    aggregate.beginMs = beginOf(step);
    aggregate.endMs = (step + 1) * STEP_MS;
    aggregate.least = takeNumber(reader);
    aggregate.mean = takeNumber(reader);
    aggregate.greatest = takeNumber(reader);
    const double last = takeNumber(reader);
    if (!std::isnan(last)) {
        aggregate.last = last;
    }
    return aggregate;
}

void AggregateRing::dropBefore(std::int64_t timeMs) {
    const std::int64_t firstKept = stepOf(timeMs);
    ByteReader reader{viewOf(bytes, head)};
    std::int64_t nothing = 0;
    while (count > 0 && frontStep < firstKept) {
        next(reader, nothing);
        head = bytes.size() - reader.left().size();
        --count;
        if (count > 0) {
            ByteReader ahead = reader;
            next(ahead, frontStep);
        }
    }
    dropHead(bytes, head);
}

std::vector<Aggregate> AggregateRing::aggregates() const {
    std::vector<Aggregate> all;
    all.reserve(count + 1);
    ByteReader reader{viewOf(bytes, head)};
    std::int64_t step = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        all.push_back(next(reader, step));
        if (i == 0) { // its step is told from one that is forgotten
            step = frontStep;
            all.front().beginMs = beginOf(step);
            all.front().endMs = (step + 1) * STEP_MS;
        }
    }
    if (present.any) {
        all.push_back(aggregateOf(present, present.timeMs));
    }
    return all;
}

std::int64_t AggregateRing::oldestMs() const {
    return beginOf(count > 0 ? frontStep : present.step);
}

void AggregateRing::save(ByteVector& file) const {
    putVarint(file, count);
    putVarint(file, zigzag(frontStep));
    putText(file, viewOf(bytes, head));
    putRaw(file, static_cast<std::uint8_t>(begun ? 1 : 0));
    putVarint(file, zigzag(firstMs));
    putVarint(file, zigzag(present.step));
    putVarint(file, zigzag(present.timeMs));
    putVarint(file, zigzag(present.coveredMs));
    for (const double number :
         {present.sum, present.least, present.greatest, present.last.value_or(UNKNOWN)}) {
        putRaw(file, number);
    }
    putRaw(file, static_cast<std::uint8_t>(present.any ? 1 : 0));
}

void AggregateRing::load(ByteReader& file) {
    constexpr std::int64_t furthestStep = SampleRing::FURTHEST_MS / STEP_MS + 1;
    const auto requireSense = [](bool sense) {
        if (!sense) {
            throw std::runtime_error{"has steps that make no sense"};
        }
    };
    const auto takeStep = [&] {
        const std::int64_t step = unzigzag(file.varint());
        requireSense(step >= -furthestStep && step <= furthestStep);
        return step;
    };
    const auto takeTime = [&] {
        const std::int64_t timeMs = unzigzag(file.varint());
        requireSense(SampleRing::isWithin(timeMs));
        return timeMs;
    };
    AggregateRing loaded{narrow};
    const std::uint64_t steps = file.varint();
    loaded.frontStep = takeStep();
    const std::string_view content = file.text();
    requireSense(steps <= content.size());
    loaded.count = static_cast<std::uint32_t>(steps);
    loaded.backStep = loaded.lastStepOf(content);
    loaded.bytes.assign(content.begin(), content.end());
    loaded.begun = file.raw<std::uint8_t>() != 0;
    loaded.firstMs = takeTime();
    loaded.present.step = takeStep();
    loaded.present.timeMs = takeTime();
    loaded.present.coveredMs = takeTime();
    loaded.present.sum = file.raw<double>();
    loaded.present.least = file.raw<double>();
    loaded.present.greatest = file.raw<double>();
    const double last = file.raw<double>();
    loaded.present.last = std::isnan(last) ? std::nullopt : std::optional{last};
    loaded.present.any = file.raw<std::uint8_t>() != 0;
    *this = std::move(loaded);
}

/// Of `count` steps from `frontStep` on. Throws std::runtime_error when they are not what `content` has.
std::int64_t AggregateRing::lastStepOf(std::string_view content) const {
    constexpr std::int64_t furthestStep = SampleRing::FURTHEST_MS / STEP_MS + 1;
    const std::size_t numbers = 4 * (narrow ? sizeof(float) : sizeof(double));
    ByteReader reader{content};
    std::int64_t step = frontStep;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::int64_t later = unzigzag(reader.varint());
        reader.take(numbers);
        const std::int64_t next =
            i == 0 ? step : step + std::clamp(later, -2 * furthestStep, 2 * furthestStep);
        const bool hasSense = later >= -2 * furthestStep && later <= 2 * furthestStep &&
                              next >= -furthestStep && next <= furthestStep;
        if (!hasSense) {
            throw std::runtime_error{"has steps that make no sense"};
        }
        step = next; // the first one's tells how far it is from one that is forgotten
    }
    if (!reader.left().empty()) {
        throw std::runtime_error{"has steps that make no sense"};
    }
    return step;
}

} // namespace velk::daemon
