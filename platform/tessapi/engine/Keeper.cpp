#include "platform/tessapi/engine/Keeper.h"

#include "platform/tessapi/StoreAdvice.h"
#include "platform/tessapi/engine/LossBoard.h"

#include <exception>
#include <iostream>
#include <utility>

namespace tessapi {

using velk::common::MutexLock;

namespace {

/// By then whoever watches the store knows whether it is lost.
constexpr std::chrono::seconds LONGEST_DOUBT{5};

} // namespace

Keeper::Keeper(std::unique_ptr<IKeeping> way, const Engine::Options& options) :
    keeping{std::move(way)},
    framesWorthCopying{options.framesToCopy},
    rest{options.restBeforeSync},
    clock{*options.clock},
    framesToCopy{options.framesToCopy},
    due{clock.now() + rest} {
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
    while (!dirty && !stopping && clock.now() < due) {
        clock.waitFor(condition, lock, due - clock.now());
    }
    // What comes within the rest shares the sync.
    const auto end = clock.now() + rest;
    while (dirty && !stopping && frames < framesToCopy && clock.now() < end) {
        clock.waitFor(condition, lock, end - clock.now());
    }
}

IKeeping::Round Keeper::takeRound() {
    const IKeeping::Round round{dirty, dirty && frames >= framesToCopy, stopping};
    if (round.copyLog) {
        framesToCopy = frames + framesWorthCopying;
    }
    dirty = false;
    return round;
}

void Keeper::run() {
    MutexLock lock{mutex};
    while (true) {
        waitForWork(lock);
        const auto round = takeRound();
        lock.unlock();
        const bool kept = keep(round);
        lock.lock();
        if (round.last) {
            return; // one try is all that a program that ends can wait for
        }
        dirty = dirty || !kept;
    }
}

bool Keeper::keep(const IKeeping::Round& round) {
    try {
        due = clock.now() + keeping->keep(round);
        failing = false;
        lostSince.reset();
        return true;
    } catch (const std::exception& failure) {
        if (!isToldByOthers(failure, round.last)) {
            tell(failure.what(), round.last);
            failing = true;
        }
        return false;
    }
}

bool Keeper::isToldByOthers(const std::exception& failure, bool last) {
    auto& board = LossBoard::ofProcess();
    if (!isStoreLost(failure) || board.isAnnounced()) {
        return isStoreLost(failure);
    }
    // A copy that is merely out of reach fails likewise, and of that nobody else tells.
    const auto now = clock.now();
    lostSince = lostSince.value_or(now);
    return board.isClaimed() && !last && now - *lostSince < LONGEST_DOUBT;
}

void Keeper::tell(const std::string& failure, bool last) {
    if (last || !failing) {
        const auto prospect = last ? "not tried again, as this program ends: " + keeping->leftBehind()
                                   : "tried again until it works";
        std::cerr << "WARNING - " + failure + "; " + prospect + "\n" << std::flush;
    }
}

} // namespace tessapi
