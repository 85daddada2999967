#pragma once

#include "daemon/IHostedManager.h"
#include "daemon/RetryPause.h"
#include "platform/common/Clock.h"
#include "platform/common/Mutex.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <ostream>
#include <string>

namespace velk::daemon {

/// Keeps one manager running: when its run ends with an exception the manager goes, and after a growing pause
/// a new one is made, since a manager runs only once.
///
/// Threads: `run` on a thread of its own, `stop` from any other.
class Supervisor {
public:
    using Maker = std::function<std::unique_ptr<IHostedManager>()>;

    /// A run of this length counts as gone well: the pauses begin again.
    static constexpr velk::common::Clock::Duration GONE_WELL = RetryPause::LONGEST;

    /// Failures are reported to `errors`, one line each, ending with `advice`. `clock` and `errors` must
    /// outlive this object.
    Supervisor(Maker maker, velk::common::Clock& clock, std::ostream& errors, std::string advice);

    /// Returns after `stop`, when the last manager is gone.
    void run() VELK_EXCLUDES(mutex);

    /// Ends the present run, or the pause, and lets no new one begin. Returns when the manager has been
    /// asked, which it can be only once its run has begun; does not wait for its end. Further calls do
    /// nothing.
    void stop() VELK_EXCLUDES(mutex) { end(false); }

    /// The same when the run has lost what it works on: what it still fails with is not reported, since
    /// whoever calls this tells the cause.
    void abandon() VELK_EXCLUDES(mutex) { end(true); }

private:
    /// What the run ended with; empty for a run that ended by itself.
    std::string runOnce() VELK_EXCLUDES(mutex);
    void end(bool quietly) VELK_EXCLUDES(mutex);
    bool isStopping() const VELK_EXCLUDES(mutex);
    bool isQuiet() const VELK_EXCLUDES(mutex);
    void rest(velk::common::Clock::Duration pause) VELK_EXCLUDES(mutex);
    /// From now on `stop` asks this manager; false, and nothing done, when `stop` has come already.
    bool admit(IHostedManager& manager) VELK_EXCLUDES(mutex);
    void dismiss() VELK_EXCLUDES(mutex);

    Maker maker;
    velk::common::Clock& clock;
    std::ostream& errors;
    std::string advice;
    RetryPause pause;
    mutable velk::common::Mutex mutex;
    std::condition_variable_any changed;
    bool stopping VELK_GUARDED_BY(mutex){false};
    bool quiet VELK_GUARDED_BY(mutex){false};
    IHostedManager* running VELK_GUARDED_BY(mutex){nullptr}; ///< observes the manager that `runOnce` owns
};

} // namespace velk::daemon
