#pragma once

#include "platform/common/Clock.h"
#include "platform/common/Mutex.h"
#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/IKeeping.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <thread>

namespace tessapi {

/// Brings what was committed to the disk, on a thread of its own, within a second of the commit. What fails
/// is told in one line on the standard error and tried again until it works, or until this object goes, which
/// is told in another line.
/// Threads: any.
class Keeper {
public:
    /// The thread calls `way` and no one else does, a first time soon.
    Keeper(std::unique_ptr<IKeeping> way, const Engine::Options& options);
    /// Keeps what is not kept yet.
    ~Keeper();
    Keeper(const Keeper&) = delete;
    Keeper& operator=(const Keeper&) = delete;

    /// After a commit that left `logFrames` frames in the log, or after news of one by another program, whose
    /// number of frames is not known (0).
    void noteCommit(int logFrames) VELK_EXCLUDES(mutex);

private:
    using Duration = velk::common::Clock::Duration;

    void run() VELK_EXCLUDES(mutex);
    void waitForWork(velk::common::MutexLock& lock) VELK_REQUIRES(mutex);
    IKeeping::Round takeRound() VELK_REQUIRES(mutex);
    /// False when it failed, which is told once until it has worked again, and at the end.
    bool keep(const IKeeping::Round& round);
    void tell(const std::string& failure, bool last);
    /// Whether somebody else has told, or is still to tell, that the store is lost.
    bool isToldByOthers(const std::exception& failure, bool last);

    const std::unique_ptr<IKeeping> keeping; // of the thread alone, once it runs
    const int framesWorthCopying;
    const std::chrono::milliseconds rest;
    velk::common::Clock& clock;
    velk::common::Mutex mutex;
    std::condition_variable_any condition;
    bool stopping VELK_GUARDED_BY(mutex){false};
    bool dirty VELK_GUARDED_BY(mutex){false};
    int frames VELK_GUARDED_BY(mutex){0};
    /// Rises after a copy that could not start the log anew because of a reader, so that not every following
    /// commit asks for another one.
    int framesToCopy VELK_GUARDED_BY(mutex);
    Duration due{};                    ///< when to keep without a commit; of the keeper's thread alone
    bool failing{false};               ///< likewise, and that it was told
    std::optional<Duration> lostSince; ///< likewise
    std::thread thread;
};

} // namespace tessapi
