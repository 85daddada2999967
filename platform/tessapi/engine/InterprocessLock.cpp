#include "platform/tessapi/engine/InterprocessLock.h"

#include "platform/tessapi/engine/CoarseClock.h"
#include "platform/tessapi/engine/StoreError.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <utility>

namespace tessapi {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// A program that was stopped while it waited may be the one that is woken when the mutex gets free. So
/// nobody sleeps for longer than this without a look of his own.
constexpr milliseconds LONGEST_SLEEP{25};
/// Who holds a turn for longer is taken for stopped. Of all turns it is less than a writer should wait.
constexpr milliseconds LONGEST_TURN{50};
/// After this it is seen whether it still is; a machine that was only busy is in order again.
constexpr std::int64_t PASS_OVER_FOR_MS = 1000;

/// Waits by the clock that nobody sets: by the wall clock a wait would last for as long as that is set back.
int lockFor(pthread_mutex_t& mutex, std::int64_t nanoseconds) {
    constexpr std::int64_t SECOND = 1'000'000'000;
#ifdef __SANITIZE_THREAD__
    // It does not know the other call, and would not see that the mutex is held.
    constexpr clockid_t CLOCK = CLOCK_REALTIME;
    const auto wait = [](auto* which, const timespec* end) { return pthread_mutex_timedlock(which, end); };
#else
    constexpr clockid_t CLOCK = CLOCK_MONOTONIC;
    const auto wait = [](auto* which, const timespec* end) {
        return pthread_mutex_clocklock(which, CLOCK, end);
    };
#endif
    timespec until{};
    clock_gettime(CLOCK, &until);
    const std::int64_t end = until.tv_nsec + nanoseconds;
    until.tv_sec += end / SECOND;
    until.tv_nsec = end % SECOND;
    return wait(&mutex, &until);
}

/// Errno of the failure, 0 when the mutex is held.
int lockUntil(pthread_mutex_t& mutex, steady_clock::time_point end) {
    int result = pthread_mutex_trylock(&mutex);
    while (result == EBUSY || result == ETIMEDOUT) {
        const auto left = end - steady_clock::now();
        if (left <= left.zero()) {
            return ETIMEDOUT;
        }
        result = lockFor(mutex, std::min<std::chrono::nanoseconds>(left, LONGEST_SLEEP).count());
    }
    // What a dead holder has left is the database's, which recovers by itself.
    return result == EOWNERDEAD ? pthread_mutex_consistent(&mutex) : result;
}

} // namespace

InterprocessLock::InterprocessLock(SharedPage& owner, std::string storeName, milliseconds longestWait) :
    page{owner}, store{std::move(storeName)}, patience{longestWait} {}

void InterprocessLock::lock() VELK_NO_THREAD_SAFETY_ANALYSIS { // its parts are locks of the system's library
    const auto end = steady_clock::now() + patience;
    // Programs that have started since somebody deleted the page's file take another lock: theirs is the one
    // that counts.
    while (!lockPresentPage(end)) {
    }
}

// A mutex alone would let a program that writes without a pause take it again and again before the one that
// it has just woken gets to run.
pthread_mutex_t* InterprocessLock::takeTurn(SharedPage::Words& words, steady_clock::time_point end) {
    const auto now = coarseNowMs();
    if (now - passedMs > PASS_OVER_FOR_MS) {
        passedOver = 0;
    }
    for (std::size_t i = 0; i < SharedPage::TURNS; ++i) {
        const auto longest = i < passedOver ? milliseconds{0} : LONGEST_TURN;
        if (lockUntil(words.turns[i], std::min(end, steady_clock::now() + longest)) == 0) {
            return &words.turns[i];
        }
        if (i >= passedOver) {
            passedOver = i + 1;
            passedMs = now;
        }
    }
    return nullptr;
}

bool InterprocessLock::lockPresentPage(steady_clock::time_point end) VELK_NO_THREAD_SAFETY_ANALYSIS {
    auto& words = page.words();
    auto* const turn = takeTurn(words, end);
    const int result = lockUntil(words.lock, end);
    if (turn != nullptr) {
        pthread_mutex_unlock(turn);
    }
    if (result == ETIMEDOUT) {
        throwStoreFault(store, StoreFault::locked, "cannot write");
    }
    if (result != 0) {
        throwSystemFailure(store, result, "cannot lock");
    }
    // Only who holds the lock changes the page, so that nobody of this process holds another one meanwhile.
    try {
        if (!page.follow() && &words == &page.words()) {
            held = &words;
            return true;
        }
    } catch (...) {
        pthread_mutex_unlock(&words.lock);
        throw;
    }
    pthread_mutex_unlock(&words.lock);
    return false;
}

void InterprocessLock::unlock() VELK_NO_THREAD_SAFETY_ANALYSIS {
    pthread_mutex_unlock(&held->lock);
}

} // namespace tessapi
