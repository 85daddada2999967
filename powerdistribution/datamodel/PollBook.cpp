#include "powerdistribution/datamodel/PollBook.h"

#include "powerdistribution/datamodel/updateHandler.h"

#include <algorithm>
#include <exception>

namespace velk::powerdistribution::datamodel {

namespace {

/// How much of a new interval goes into the smoothed one.
constexpr int SMOOTHING = 8;

} // namespace

void PollBook::poll(Entry& entry) {
    try {
        updateHandler(entry.handler);
    } catch (const std::exception& failure) {
        noteFailure(entry, failure.what());
        throw;
    } catch (...) {
        noteFailure(entry, "an exception that is none of the standard library");
        throw;
    }
    noteRead(entry);
}

void PollBook::noteRead(Entry& entry) const {
    // One writer at a time: plain loads and stores that readers on other threads never see half.
    constexpr auto relaxed = std::memory_order_relaxed;
    const Duration now = clock.now();
    const std::uint32_t before = entry.reads.load(relaxed);
    if (before != 0) {
        const Duration interval = now - entry.last.load(relaxed);
        const Duration smoothed = entry.period.load(relaxed);
        entry.period.store(before == 1 ? interval : smoothed + (interval - smoothed) / SMOOTHING, relaxed);
    }
    entry.last.store(now, relaxed);
    entry.reads.store(before + 1, relaxed);
}

void PollBook::noteFailure(Entry& entry, const std::string& text) {
    noteRead(entry);
    const Duration now = clock.now();
    const velk::common::MutexLock lock{mutex};
    failures[&entry] = {text, now};
}

void PollBook::noteAllRead() {
    const Duration now = clock.now();
    for (Entry& entry : entries) {
        entry.last.store(now, std::memory_order_relaxed);
    }
}

std::optional<PollBook::Note> PollBook::noteOf(const handlers::IHandler& handler) const {
    const auto found = std::find_if(entries.rbegin(), entries.rend(),
                                    [&](const Entry& entry) { return entry.handler.get() == &handler; });
    if (found == entries.rend()) {
        return std::nullopt;
    }
    const Duration now = clock.now();
    Note note;
    note.rank = found->rank;
    note.reads = found->reads;
    if (const Duration last = found->last; last != Duration::zero()) {
        note.sinceRead = std::max(now - last, Duration::zero());
    }
    if (note.reads > 1) {
        note.period = found->period;
    }
    const velk::common::MutexLock lock{mutex};
    if (const auto failure = failures.find(&*found); failure != failures.end()) {
        note.failure = failure->second.text;
        note.sinceFailure = std::max(now - failure->second.time, Duration::zero());
    }
    return note;
}

} // namespace velk::powerdistribution::datamodel
