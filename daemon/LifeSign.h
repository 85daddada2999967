#pragma once

#include "platform/common/Clock.h"
#include "platform/common/Mutex.h"
#include "platform/tessapi/ITessAccessor.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <thread>

namespace velk::daemon {

/// Says in the store whether somebody looks at the device, so that values are not taken for fresh when nobody
/// does.
///
/// While a manager runs, the channel "Daemon.Process" of the daemon's own device holds the mark of this
/// process (velk::common::ProcessMark); otherwise it is empty. A daemon that is killed leaves its mark, and
/// whoever reads it finds that the process is gone.
///
/// What a store that fails has not been told is told again after each `RETRY` until it knows; the failure is
/// reported in one line, once until the store has worked again.
///
/// Threads: any. It has one of its own, which inherits the signals that the constructing thread blocks.
class LifeSign {
public:
    using Opener = std::function<std::unique_ptr<tessapi::ITessAccessor>()>;

    static constexpr const char* CHANNEL = "Daemon.Process";
    static constexpr velk::common::Clock::Duration RETRY = std::chrono::seconds{1};

    /// `opener` makes the client of the store and may throw. `errors` and `clock` must outlive this object.
    LifeSign(Opener opener, std::ostream& errors, velk::common::Clock& clock = velk::common::Clock::system());

    /// What the store has not been told by then it will not be told.
    ~LifeSign();
    LifeSign(const LifeSign&) = delete;
    LifeSign& operator=(const LifeSign&) = delete;

    /// Never throws a standard exception. The store has been told at return, unless it failed.
    void atWork() VELK_EXCLUDES(mutex) { say(true); }
    void atRest() VELK_EXCLUDES(mutex) { say(false); }
    /// The store is lost: what is in its place is told nothing by this object.
    void abandon() VELK_EXCLUDES(mutex);

private:
    void say(bool working) VELK_EXCLUDES(mutex);
    void sayOwed() VELK_REQUIRES(mutex);
    void write(bool working) const;
    void retry() VELK_EXCLUDES(mutex);

    Opener opener;
    std::ostream& errors;
    velk::common::Clock& clock;
    velk::common::Mutex mutex;
    std::condition_variable_any changed;
    std::optional<bool> owed VELK_GUARDED_BY(mutex); ///< what the store does not know yet
    bool failing VELK_GUARDED_BY(mutex){false};
    bool ending VELK_GUARDED_BY(mutex){false};
    bool abandoned VELK_GUARDED_BY(mutex){false};
    std::thread retrier; ///< last: it uses all the others
};

} // namespace velk::daemon
