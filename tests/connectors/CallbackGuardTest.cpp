#include "powerdistribution/connectors/CallbackGuard.h"

#include "testing/CallLog.h"
#include "testing/RecordingListener.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <thread>

namespace velk::powerdistribution::connectors {
namespace {

using handlers::HandlerData;
using testing::CallLog;
using testing::RecordingListener;
using velk::common::Mutex;
using velk::common::MutexLock;

void waitUntil(const std::atomic<bool>& flag) {
    while (!flag) {
        std::this_thread::yield();
    }
}

/// Long enough for another thread to do what it must not do, and to set `flag`.
void giveOthersTheirTurn(const std::atomic<bool>& flag) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds{20};
    while (!flag && std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
    }
}

// The analysis does not follow a lock whose success is kept in a variable.
bool isFree(Mutex& mutex) VELK_NO_THREAD_SAFETY_ANALYSIS {
    const bool taken = mutex.try_lock();
    if (taken) {
        mutex.unlock();
    }
    return taken;
}

TEST(CallbackGuardTest, PassesCallsWithTheirArguments) {
    const CallbackGuard guard;
    int sum = 0;
    const auto add = guard.guarded<int, int>([&](int a, int b) { sum += a + b; });
    add(1, 2);
    add(3, 4);
    EXPECT_EQ(10, sum);
}

TEST(CallbackGuardTest, ACallThatComesAfterItsEndDoesNothing) {
    auto guard = std::make_unique<CallbackGuard>();
    int calls = 0;
    const auto count = guard->guarded<>([&] { ++calls; });
    guard.reset();
    count();
    EXPECT_EQ(0, calls);
}

TEST(CallbackGuardTest, CloseWaitsForTheCallOfAnotherThread) {
    CallLog log;
    CallbackGuard guard;
    std::atomic<bool> entered{false};
    const auto callback = guard.guarded<>([&] {
        entered = true;
        // Whoever closes has begun to wait before this call ends.
        while (!guard.isClosed()) {
            std::this_thread::yield();
        }
        log.add("callback ended");
    });
    std::thread store{callback};
    waitUntil(entered);
    guard.close();
    log.add("closed");
    store.join();
    EXPECT_EQ((std::vector<std::string>{"callback ended", "closed"}), log.calls());
}

TEST(CallbackGuardTest, MayBeDestroyedByItsOwnCall) {
    auto guard = std::make_unique<CallbackGuard>();
    bool called = false;
    const auto callback = guard->guarded<>([&] {
        guard.reset();
        called = true;
    });
    callback();
    EXPECT_TRUE(called);
    EXPECT_EQ(nullptr, guard);
}

TEST(CallbackGuardTest, ACallThatThrowsIsOver) {
    CallbackGuard guard;
    const auto callback = guard.guarded<>([] { throw std::runtime_error{"no"}; });
    EXPECT_THROW(callback(), std::runtime_error);
    std::thread{[&] { guard.close(); }}.join();
    EXPECT_TRUE(guard.isClosed());
}

TEST(CallbackGuardTest, NotifyReleasesTheLockAroundTheListener) {
    const CallbackGuard guard;
    Mutex mutex;
    bool wasFree = false;
    RecordingListener listener{[&](const HandlerData&) { wasFree = isFree(mutex); }};
    {
        MutexLock lock{mutex};
        EXPECT_TRUE(guard.notify(listener, {}, lock));
        std::thread{[&] { EXPECT_FALSE(isFree(mutex)); }}.join();
    }
    EXPECT_TRUE(wasFree);
    EXPECT_EQ(1u, listener.count());
}

TEST(CallbackGuardTest, NotifyTellsThatTheGuardEndedMeanwhile) {
    auto guard = std::make_unique<CallbackGuard>();
    Mutex mutex;
    RecordingListener listener{[&](const HandlerData&) { guard.reset(); }};
    {
        MutexLock lock{mutex};
        EXPECT_FALSE(guard->notify(listener, {}, lock));
        EXPECT_TRUE(isFree(mutex));
    }
    EXPECT_EQ(1u, listener.count());
}

TEST(CallbackGuardTest, NotifyOfAClosedGuardCallsNobody) {
    CallbackGuard guard;
    Mutex mutex;
    RecordingListener listener;
    guard.close();
    MutexLock lock{mutex};
    EXPECT_FALSE(guard.notify(listener, {}, lock));
    EXPECT_EQ(0u, listener.count());
}

TEST(CallbackGuardTest, WaitForWaitsUntilTheListenerIsLeft) {
    const CallbackGuard guard;
    Mutex mutex;
    std::atomic<bool> entered{false};
    std::atomic<bool> mayLeave{false};
    std::atomic<bool> left{false};
    RecordingListener listener{[&](const HandlerData&) {
        entered = true;
        waitUntil(mayLeave);
        left = true;
    }};
    std::thread store{[&] {
        MutexLock lock{mutex};
        guard.notify(listener, {}, lock);
    }};
    waitUntil(entered);
    std::atomic<bool> asked{false};
    std::atomic<bool> waited{false};
    std::thread owner{[&] {
        asked = true;
        guard.waitFor(&listener);
        EXPECT_TRUE(left);
        waited = true;
    }};
    waitUntil(asked);
    giveOthersTheirTurn(waited);
    EXPECT_FALSE(waited) << "the listener is still at work";
    mayLeave = true;
    owner.join();
    store.join();
    EXPECT_TRUE(waited);
}

TEST(CallbackGuardTest, WaitForDoesNotWaitForAnotherListenerNorForNobody) {
    const CallbackGuard guard;
    Mutex mutex;
    std::atomic<bool> entered{false};
    std::atomic<bool> mayLeave{false};
    RecordingListener busy{[&](const HandlerData&) {
        entered = true;
        waitUntil(mayLeave);
    }};
    RecordingListener idle;
    std::thread store{[&] {
        MutexLock lock{mutex};
        guard.notify(busy, {}, lock);
    }};
    waitUntil(entered);
    guard.waitFor(&idle);
    guard.waitFor(nullptr);
    mayLeave = true;
    store.join();
    EXPECT_EQ(1u, busy.count());
}

TEST(CallbackGuardTest, AListenerMayWaitForItself) {
    const CallbackGuard guard;
    Mutex mutex;
    RecordingListener* self = nullptr;
    RecordingListener listener{[&](const HandlerData&) { guard.waitFor(self); }};
    self = &listener;
    MutexLock lock{mutex};
    EXPECT_TRUE(guard.notify(listener, {}, lock));
}

} // namespace
} // namespace velk::powerdistribution::connectors
