#include "powerdistribution/sched/ThreadPool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <pthread.h>
#include <system_error>

namespace {

/// The number of threads that the machine still starts; negative: as many as it likes.
std::atomic<int> threadsLeft{-1};
std::atomic<int> threadsStarted{0};

} // namespace

/// Stands before the C library's own, so that a start can be made to fail.
extern "C" __attribute__((visibility("default"))) int
pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument) {
    using Create = int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static auto* const original = reinterpret_cast<Create*>(dlsym(RTLD_NEXT, "pthread_create"));
    if (threadsLeft == 0) {
        return EAGAIN;
    }
    --threadsLeft;
    ++threadsStarted;
    return original(thread, attributes, body, argument);
}

namespace {

using velk::common::ThreadPool;

TEST(ThreadStartFailureTest, EarlierWorkersAreJoinedAndTheFailureIsPassedOn) {
    threadsStarted = 0;
    threadsLeft = 2;
    try {
        const ThreadPool pool{3};
        threadsLeft = -1;
        FAIL() << "no exception";
    } catch (const std::system_error& failure) {
        EXPECT_EQ(failure.code(), std::errc::resource_unavailable_try_again);
    }
    threadsLeft = -1;
    // A worker that was not joined would have ended the program from its thread's destructor.
    EXPECT_EQ(threadsStarted, 2);
}

TEST(ThreadStartFailureTest, PoolHasItsFullNumberOfThreads) {
    threadsStarted = 0;
    threadsLeft = -1;
    const ThreadPool pool{3};
    EXPECT_EQ(threadsStarted, 3);
}

} // namespace
