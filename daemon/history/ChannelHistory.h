#pragma once

#include "daemon/history/AggregateRing.h"
#include "daemon/history/HistorySlice.h"
#include "daemon/history/SampleRing.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace velk::daemon {

/// How long the history goes back. A plain value.
struct HistorySpans {
    std::int64_t changesMs{std::int64_t{60} * 60 * 1000};        ///< each change of a number
    std::int64_t wholeMs{std::int64_t{7} * 24 * 60 * 60 * 1000}; ///< steps of numbers, changes of all others
};

/// What a channel was: of a number each change of the last hour, and of seven days what it was in steps of
/// five minutes; of a state or a text each change of seven days.
class ChannelHistory {
public:
    ChannelHistory(HistoryKind kindOfChannel, qz::datatype typeOfChannel);

    /// A value that is the one before makes no difference. Gives whether it did.
    bool add(std::int64_t timeMs, const qz::CValue& value, const HistorySpans& spans);

    /// From `timeMs` on nobody knows the value until `resume`, from which on what it was before counts again,
    /// or what was added meanwhile. Each makes no difference where the other has not come before it.
    void suspend(std::int64_t timeMs, const HistorySpans& spans);
    void resume(std::int64_t timeMs, const HistorySpans& spans);

    /// What was suspended counts no more.
    void forgetSuspended() { suspended.reset(); }

    /// What came before stays known as far as one needs for what came after.
    void dropBefore(std::int64_t timeMs);

    /// Between the two moments, in `columns` equal parts; for states and texts the newest `columns` changes.
    HistorySlice slice(std::int64_t fromMs, std::int64_t toMs, std::size_t columns) const;

    HistoryKind kind() const { return kindOf; }
    qz::datatype type() const { return typeOf; }
    bool isEmpty() const { return changes.size() == 0; }

    /// Of the oldest that is known and of the newest change.
    std::int64_t oldestMs() const;
    std::int64_t newestMs() const { return changes.newestMs(); }

    std::size_t heapBytes() const;

    /// Its content, for a file. `load` throws std::runtime_error for anything else than `save` has written by
    /// a history of the same kind and type.
    void save(ByteVector& file) const;
    void load(ByteReader& file);

private:
    void addToSteps(std::int64_t timeMs, const qz::CValue& value);

    HistoryKind kindOf;
    qz::datatype typeOf;
    qz::CValue present;
    std::unique_ptr<qz::CValue> suspended; ///< what `resume` takes up; null while the value counts
    SampleRing changes;
    std::unique_ptr<AggregateRing> steps; ///< of a number that has changed; otherwise null
};

} // namespace velk::daemon
