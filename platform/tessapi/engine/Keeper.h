#pragma once

#include "platform/common/Clock.h"
#include "platform/common/Mutex.h"
#include "platform/tessapi/engine/Database.h"
#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/InterprocessLock.h"

#include <chrono>
#include <condition_variable>
#include <string>
#include <thread>

namespace tessapi {

/// Brings what was committed to the disk, on a thread and a connection of its own: it syncs the log within a
/// second of a commit, and copies it into the file when it has grown, so that it stays bounded. What fails is
/// told in one line on the standard error and tried again with the next commit.
/// Threads: any.
class Keeper {
public:
    /// `lock` outlives the keeper.
    Keeper(const std::string& path, const std::string& store, InterprocessLock& lock,
           const Engine::Options& options);
    /// Syncs what is not synced yet.
    ~Keeper();
    Keeper(const Keeper&) = delete;
    Keeper& operator=(const Keeper&) = delete;

    /// After a commit that left `logFrames` frames in the log, or after news of one by another program, whose
    /// number of frames is not known (0).
    void noteCommit(int logFrames) VELK_EXCLUDES(mutex);

private:
    void run() VELK_EXCLUDES(mutex);
    void waitForWork(velk::common::MutexLock& lock) VELK_REQUIRES(mutex);
    /// False when it failed, which is told once until it has worked again.
    bool keep(bool copy);

    InterprocessLock& writers;
    const int framesWorthCopying;
    const std::chrono::milliseconds rest;
    Database database; // of the thread alone, once it runs
    velk::common::Clock& clock;
    velk::common::Mutex mutex;
    std::condition_variable_any condition;
    bool stopping VELK_GUARDED_BY(mutex){false};
    bool dirty VELK_GUARDED_BY(mutex){false};
    int frames VELK_GUARDED_BY(mutex){0};
    /// Rises after a copy that could not start the log anew because of a reader, so that not every following
    /// commit asks for another one.
    int framesToCopy VELK_GUARDED_BY(mutex);
    bool failing{false}; ///< of the keeper's thread alone
    std::thread thread;
};

} // namespace tessapi
