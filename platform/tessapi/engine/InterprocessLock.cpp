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

} // namespace

InterprocessLock::InterprocessLock(SharedPage& owner, std::string storeName,
                                   std::chrono::milliseconds longestWait) :
    page{owner}, store{std::move(storeName)}, patience{longestWait} {}

void InterprocessLock::lock() VELK_NO_THREAD_SAFETY_ANALYSIS { // it is a lock of the system's library
    auto& mutex = page.words().lock;
    int result = pthread_mutex_trylock(&mutex);
    const auto end = std::chrono::steady_clock::now() + patience;
    while (result == EBUSY || result == ETIMEDOUT) {
        if (std::chrono::steady_clock::now() >= end) {
            throwStoreFault(store, StoreFault::locked, "cannot write");
        }
        result = lockFor(mutex, SLICE_NS);
    }
    if (result == EOWNERDEAD) {
        // What it guards is the database, which recovers by itself.
        result = pthread_mutex_consistent(&mutex);
    }
    if (result != 0) {
        throwSystemFailure(store, result, "cannot lock");
    }
}

void InterprocessLock::unlock() VELK_NO_THREAD_SAFETY_ANALYSIS {
    pthread_mutex_unlock(&page.words().lock);
}

} // namespace tessapi
