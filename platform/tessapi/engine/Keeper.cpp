#include "platform/tessapi/engine/Keeper.h"

#include <chrono>
#include <iostream>

namespace tessapi {

namespace {

using velk::common::MutexLock;

} // namespace

Keeper::Keeper(const std::string& path, const std::string& store, InterprocessLock& lock,
               const Engine::Options& options) :
    writers{lock},
    framesWorthCopying{options.framesToCopy},
    rest{options.restBeforeSync},
    database{path, store},
    clock{velk::common::Clock::system()},
    framesToCopy{options.framesToCopy} {
    database.execute("SELECT count(*) FROM sqlite_master"); // the log is open from the first read on
    thread = std::thread{[this] { run(); }};
}

Keeper::~Keeper() {
    {
        MutexLock lock{mutex};
        stopping = true;
    }
    condition.notify_all();
    thread.join();
}

void Keeper::noteCommit(int logFrames) {
    bool news = false;
    {
        MutexLock lock{mutex};
        if (logFrames != 0 && logFrames < frames) {
            framesToCopy = framesWorthCopying; // the log was started anew
        }
        if (logFrames != 0) {
            frames = logFrames;
        }
        news = !dirty || frames >= framesToCopy;
        dirty = true;
    }
    if (news) {
        condition.notify_all();
    }
}

void Keeper::waitForWork(MutexLock& lock) {
    while (!dirty && !stopping) {
        clock.waitFor(condition, lock, std::chrono::hours{1});
    }
    // What comes within the rest shares the sync.
    const auto end = clock.now() + rest;
    while (!stopping && frames < framesToCopy && clock.now() < end) {
        clock.waitFor(condition, lock, end - clock.now());
    }
}

void Keeper::run() {
    MutexLock lock{mutex};
    while (!stopping || dirty) {
        waitForWork(lock);
        if (!dirty) {
            continue;
        }
        const bool copy = frames >= framesToCopy;
        if (copy) {
            framesToCopy = frames + framesWorthCopying;
        }
        dirty = false;
        const bool last = stopping;
        lock.unlock();
        const bool kept = keep(copy);
        lock.lock();
        if (last) {
            return; // one try is all that a program that ends can wait for
        }
        dirty = dirty || !kept;
    }
}

bool Keeper::keep(bool copy) {
    try {
        // First, because a checkpoint that a reader holds up syncs nothing.
        database.syncLog();
        if (copy) {
            InterprocessHold hold{writers};
            database.checkpoint();
        }
        failing = false;
        return true;
    } catch (const std::exception& failure) {
        if (!failing) {
            std::cerr << std::string{"WARNING - "} + failure.what() + "; tried again until it works\n"
                      << std::flush;
        }
        failing = true;
        return false;
    }
}

} // namespace tessapi
