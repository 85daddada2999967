#pragma once

#include "platform/common/Clock.h"
#include "platform/common/Mutex.h"
#include "powerdistribution/handlers/IHandler.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

namespace velk::powerdistribution::datamodel {

/// The handlers that are polled, and of each when that was and what became of it, for people who ask. A poll
/// costs one look at the clock and a few stores more than the refresh alone.
///
/// Threads: `add` on one, before anything else; `poll` on any, never two of one entry at once; `noteOf` and
/// `noteAllRead` on any.
class PollBook {
public:
    using Duration = velk::common::Clock::Duration;
    using HandlerPtr = std::shared_ptr<handlers::IHandler>;

    /// One handler; keeps its place until the book goes.
    class Entry {
    public:
        Entry(HandlerPtr polled, std::uint32_t waitingCycles) :
            handler{std::move(polled)}, rank{waitingCycles} {}

    private:
        friend class PollBook;

        const HandlerPtr handler;
        const std::uint32_t rank;
        std::atomic<std::uint32_t> reads{0};
        std::atomic<Duration> last{Duration::zero()};   ///< time of the last poll
        std::atomic<Duration> period{Duration::zero()}; ///< smoothed over about eight polls
    };

    /// What the book says of one handler.
    struct Note {
        std::uint32_t rank{0};
        std::uint32_t reads{0};
        std::optional<Duration> sinceRead; ///< empty before the first poll
        std::optional<Duration> period;    ///< empty before two polls
        std::string failure;               ///< text of the last poll that failed; empty for none
        std::optional<Duration> sinceFailure;
    };

    /// `clock` outlives this object.
    explicit PollBook(const velk::common::Clock& clock) : clock{clock} {}

    /// `handler` may be empty; polling it does nothing.
    Entry& add(HandlerPtr handler, std::uint32_t rank) {
        return entries.emplace_back(std::move(handler), rank);
    }

    /// Refreshes the handler and notes it. What the refresh throws is noted and passes.
    void poll(Entry& entry) VELK_EXCLUDES(mutex);

    /// Notes that all handlers have been refreshed just now by somebody else.
    void noteAllRead();

    /// Of the entry that was added last for `handler`; empty when there is none.
    std::optional<Note> noteOf(const handlers::IHandler& handler) const VELK_EXCLUDES(mutex);

private:
    struct Failure {
        std::string text;
        Duration time{};
    };

    void noteRead(Entry& entry) const;
    void noteFailure(Entry& entry, const std::string& text) VELK_EXCLUDES(mutex);

    const velk::common::Clock& clock;
    std::deque<Entry> entries;
    mutable velk::common::Mutex mutex;
    /// Beside the entries, since most never fail.
    std::unordered_map<const Entry*, Failure> failures VELK_GUARDED_BY(mutex);
};

} // namespace velk::powerdistribution::datamodel
