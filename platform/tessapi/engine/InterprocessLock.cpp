#include "platform/tessapi/engine/InterprocessLock.h"

#include "platform/tessapi/engine/StoreError.h"

#include <cerrno>
#include <ctime>
#include <utility>

namespace tessapi {

namespace {

/// The robust mutex waits by the wall clock, which may be set while it waits; so it waits in short slices and
/// the whole wait is measured by the clock that nobody sets.
constexpr std::int64_t SLICE_NS = 100'000'000;

int lockFor(pthread_mutex_t& mutex, std::int64_t nanoseconds) {
    constexpr std::int64_t SECOND = 1'000'000'000;
    timespec until{};
    clock_gettime(CLOCK_REALTIME, &until);
    const std::int64_t end = until.tv_nsec + nanoseconds;
    until.tv_sec += end / SECOND;
    until.tv_nsec = end % SECOND;
    return pthread_mutex_timedlock(&mutex, &until);
}

/// Errno of the failure, 0 when the mutex is held.
int lockUntil(pthread_mutex_t& mutex, std::chrono::steady_clock::time_point end) {
    int result = pthread_mutex_trylock(&mutex);
    while (result == EBUSY || result == ETIMEDOUT) {
        if (std::chrono::steady_clock::now() >= end) {
            return ETIMEDOUT;
        }
        result = lockFor(mutex, SLICE_NS);
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
}

void InterprocessLock::unlock() VELK_NO_THREAD_SAFETY_ANALYSIS {
    pthread_mutex_unlock(&page.words().lock);
}

} // namespace tessapi
