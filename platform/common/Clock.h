#pragma once

#include "platform/common/Export.h"
#include "platform/common/Mutex.h"

#include <chrono>
#include <condition_variable>

namespace velk::common {

/// The time that loops, waits and rests go by, so that a test can move it.
/// Threads: every operation may come from any thread.
class VELK_EXPORT Clock {
public:
    using Duration = std::chrono::nanoseconds;

    virtual ~Clock();

    /// Monotonic time since some fixed point.
    virtual Duration now() const = 0;

    /// CPU time that this process has used so far, over all its threads.
    virtual Duration cpuTime() const = 0;

    /// Blocks the calling thread for `pause`; goes on with the time that is left when a signal interrupts it.
    virtual void sleepFor(Duration pause) = 0;

    /// Waits on `condition` for at most `timeout`; may wake early for no reason, so the caller tests again.
    virtual void waitFor(std::condition_variable_any& condition, MutexLock& lock, Duration timeout) = 0;

    /// The clock of the machine. Lives as long as the process.
    static Clock& system();
};

} // namespace velk::common
