#pragma once

#include "platform/common/Clock.h"
#include "platform/common/Mutex.h"

#include <chrono>
#include <condition_variable>
#include <set>
#include <string>

namespace velk::scenarios {

/// Where the thread of a lifecycle stands, and the clock that it goes by: a pause lasts until `pass`, and a
/// state that is held is not left before `release`.
///
/// Threads: any. `sleepFor` and `enter` are called by the lifecycle and block it.
class Pace final : public velk::common::Clock {
public:
    using MutexLock = velk::common::MutexLock;

    enum class Standing {
        Running,
        Paused, ///< in the pause of a state that stays
        Held,   ///< in a state that was to be held, before its action
        Ended,  ///< before the first run, and after each
    };

    /// Longer than anything takes that still goes on.
    static constexpr std::chrono::seconds PATIENCE{30};

    Duration now() const override { return system().now(); }
    Duration cpuTime() const override { return system().cpuTime(); }

    void sleepFor(Duration) override VELK_EXCLUDES(mutex) {
        MutexLock lock{mutex};
        stand(Standing::Paused, lock);
    }

    void waitFor(std::condition_variable_any& condition, MutexLock& lock, Duration timeout) override {
        system().waitFor(condition, lock, timeout);
    }

    /// The lifecycle has come into `state`; blocks when that is to be held.
    void enter(const std::string& state) VELK_EXCLUDES(mutex) {
        MutexLock lock{mutex};
        if (held.erase(state) != 0) {
            heldState = state;
            stand(Standing::Held, lock);
            heldState.clear();
        }
    }

    void begin() VELK_EXCLUDES(mutex) { become(Standing::Running); }
    void end() VELK_EXCLUDES(mutex) { become(Standing::Ended); }

    /// The next time that `state` is entered the lifecycle stops there.
    void hold(const std::string& state) VELK_EXCLUDES(mutex) {
        const MutexLock lock{mutex};
        held.insert(state);
    }

    /// A held lifecycle goes on.
    void release() VELK_EXCLUDES(mutex) {
        const MutexLock lock{mutex};
        goOnFrom(Standing::Held);
    }

    /// The same, and nothing will be held any more.
    void letGo() VELK_EXCLUDES(mutex) {
        const MutexLock lock{mutex};
        held.clear();
        goOnFrom(Standing::Held);
    }

    /// Lets the pause pass, if there is one.
    void pass() VELK_EXCLUDES(mutex) {
        const MutexLock lock{mutex};
        goOnFrom(Standing::Paused);
    }

    Standing standing() const VELK_EXCLUDES(mutex) {
        const MutexLock lock{mutex};
        return place;
    }

    /// The state in which the lifecycle is held, or "".
    std::string heldIn() const VELK_EXCLUDES(mutex) {
        const MutexLock lock{mutex};
        return heldState;
    }

    /// Blocks while the lifecycle runs; gives where it has come to stand, `Running` when it has not.
    Standing awaitStandstill() const VELK_EXCLUDES(mutex) {
        const auto deadline = std::chrono::steady_clock::now() + PATIENCE;
        MutexLock lock{mutex};
        while (place == Standing::Running) {
            if (changed.wait_until(lock, deadline) == std::cv_status::timeout) {
                break;
            }
        }
        return place;
    }

private:
    void become(Standing next) VELK_EXCLUDES(mutex) {
        const MutexLock lock{mutex};
        place = next;
        changed.notify_all();
    }

    void stand(Standing how, MutexLock& lock) VELK_REQUIRES(mutex) {
        place = how;
        changed.notify_all();
        while (place == how) {
            changed.wait(lock);
        }
    }

    void goOnFrom(Standing how) VELK_REQUIRES(mutex) {
        if (place == how) {
            place = Standing::Running;
            changed.notify_all();
        }
    }

    mutable velk::common::Mutex mutex;
    mutable std::condition_variable_any changed;
    Standing place VELK_GUARDED_BY(mutex){Standing::Ended};
    std::set<std::string> held VELK_GUARDED_BY(mutex);
    std::string heldState VELK_GUARDED_BY(mutex);
};

} // namespace velk::scenarios
