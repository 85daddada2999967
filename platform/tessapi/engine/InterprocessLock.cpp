#include "platform/tessapi/engine/InterprocessLock.h"

#include "platform/tessapi/engine/StoreError.h"

#include <cerrno>
#include <ctime>
#include <utility>

namespace tessapi {

namespace {

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
int lockUntil(pthread_mutex_t& mutex, std::chrono::steady_clock::time_point end) {
    int result = pthread_mutex_trylock(&mutex);
    while (result == EBUSY || result == ETIMEDOUT) {
        const auto left = end - std::chrono::steady_clock::now();
        if (left <= left.zero()) {
            return ETIMEDOUT;
        }
        result = lockFor(mutex, std::chrono::nanoseconds{left}.count());
    }
    // What a dead holder has left is the database's, which recovers by itself.
    return result == EOWNERDEAD ? pthread_mutex_consistent(&mutex) : result;
}

} // namespace

InterprocessLock::InterprocessLock(SharedPage& owner, std::string storeName,
                                   std::chrono::milliseconds longestWait) :
    page{owner}, store{std::move(storeName)}, patience{longestWait} {}

void InterprocessLock::lock() VELK_NO_THREAD_SAFETY_ANALYSIS { // its parts are locks of the system's library
    const auto end = std::chrono::steady_clock::now() + patience;
    // Programs that have started since somebody deleted the page's file take another lock: theirs is the one
    // that counts.
    while (!lockPresentPage(end)) {
    }
}

bool InterprocessLock::lockPresentPage(std::chrono::steady_clock::time_point end)
    VELK_NO_THREAD_SAFETY_ANALYSIS {
    auto& words = page.words();
    // A mutex alone would let a program that writes without a pause take it again and again before the one
    // that it has just woken gets to run.
    int result = lockUntil(words.turn, end);
    if (result == 0) {
        result = lockUntil(words.lock, end);
        pthread_mutex_unlock(&words.turn);
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
