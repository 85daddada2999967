#pragma once

#include "cli/JournalEntry.h"
#include "platform/common/Clock.h"
#include "platform/common/Mutex.h"
#include "platform/tessapi/ITessAccessor.h"

#include <condition_variable>
#include <deque>
#include <memory>
#include <optional>
#include <string>

namespace velk::cli {

/// Hears what the daemon notes of writes to the device, from its construction on: make it before the write
/// whose outcome is wanted.
///
/// Threads: the notes come on the store's client thread; `waitFor` is for one thread.
class Outcome {
public:
    /// Subscribes to the daemon's notes. `store` and `clock` must outlive this object.
    Outcome(tessapi::ITessAccessor& store, velk::common::Clock& clock);
    ~Outcome();
    Outcome(const Outcome&) = delete;
    Outcome& operator=(const Outcome&) = delete;

    /// False when no daemon has ever kept notes in this store: there will be no answer.
    bool isPossible() const { return possible; }

    /// The first note on this data point and value that has come since construction, waiting for it as long
    /// as `timeout`; empty when there is none by then.
    std::optional<JournalEntry> waitFor(const std::string& device, const std::string& channel,
                                        const std::string& asked, velk::common::Clock::Duration timeout);

private:
    /// Outlives this object while a call of the store is still running in it.
    struct Inbox {
        velk::common::Mutex mutex;
        std::condition_variable_any arrived;
        std::deque<JournalEntry> notes VELK_GUARDED_BY(mutex);
    };

    tessapi::ITessAccessor& store;
    velk::common::Clock& clock;
    std::shared_ptr<Inbox> inbox;
    std::uint64_t subscription{0};
    bool possible{false};
};

} // namespace velk::cli
