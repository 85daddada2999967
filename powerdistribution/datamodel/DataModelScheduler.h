#pragma once

#include "platform/common/Clock.h"
#include "platform/common/Mutex.h"
#include "powerdistribution/datamodel/DataModelContainer.h"
#include "powerdistribution/datamodel/PollBook.h"
#include "powerdistribution/sched/BasicScheduler.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace velk::powerdistribution::datamodel {

/// Polls the handlers of the data model: each is a recurring task whose rank is that of its group, so that a
/// status is read in every cycle and a nameplate value about once in sixty.
///
/// Threads: all operations on one; the refreshes run on the workers, never two of one handler at once.
class DataModelScheduler {
public:
    /// `maxCpuLoad` in percent of one core, `maxRestTime` in milliseconds. `clock` outlives this object.
    DataModelScheduler(std::uint32_t maxThreads, std::uint32_t maxCpuLoad, std::uint32_t maxRestTime,
                       velk::common::Clock& clock = velk::common::Clock::system());

    /// As `shutDown`.
    ~DataModelScheduler();
    DataModelScheduler(const DataModelScheduler&) = delete;
    DataModelScheduler& operator=(const DataModelScheduler&) = delete;

    /// Makes the tasks. Throws std::runtime_error "Data model scheduler is already initialized", and
    /// std::length_error "vector::reserve" for more handlers than a vector of tasks can hold.
    void initialize(const DataModelContainer& container);

    /// True from `initialize` to `terminate`.
    bool isInitialized() const { return scheduler != nullptr; }

    /// Does nothing while it runs. Throws std::runtime_error "Attempt to start an uninitialized data model
    /// scheduler".
    void start();

    /// Waits for the end of the present cycle, and keeps the tasks. A refresh may still be running on a
    /// worker when it returns. Rethrows the failure that ended the scheduling before, if there was one.
    void stop();

    /// Stops, joins the workers and discards the tasks with their handles on the handlers. A failure that
    /// `stop` rethrows leaves it undone; it can be called again.
    void terminate();

    /// As `terminate`, passing over the failure.
    void shutDown() noexcept;

    /// Notes that all handlers have been refreshed just now.
    void noteAllRead() VELK_EXCLUDES(bookLock);

    /// When `handler` was polled; empty for one that is not. Threads: any.
    std::optional<PollBook::Note> noteOf(const handlers::IHandler& handler) const VELK_EXCLUDES(bookLock);

private:
    using Scheduler = velk::common::sched::BasicScheduler<std::function<void()>>;

    void launch();
    std::unique_ptr<PollBook> exchangeBook(std::unique_ptr<PollBook> present) VELK_EXCLUDES(bookLock);

    const std::uint32_t maxThreads;
    const std::uint32_t maxCpuLoad;
    const std::uint32_t maxRestTime;
    velk::common::Clock& clock;
    mutable velk::common::Mutex bookLock;
    std::unique_ptr<PollBook> book VELK_GUARDED_BY(bookLock); ///< what the tasks poll; goes after them
    std::unique_ptr<Scheduler> scheduler; ///< null before `initialize` and after `terminate`
};

} // namespace velk::powerdistribution::datamodel
