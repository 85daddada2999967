#pragma once

#include "platform/common/ThreadAnnotations.h"

#include <mutex>
#include <shared_mutex>

namespace velk::common {

/// A plain, non-recursive mutex that the thread-safety analysis understands.
class VELK_CAPABILITY("mutex") Mutex {
public:
    void lock() VELK_ACQUIRE() { mutex.lock(); }
    void unlock() VELK_RELEASE() { mutex.unlock(); }
    bool try_lock() VELK_TRY_ACQUIRE(true) { return mutex.try_lock(); }

private:
    std::mutex mutex;
};

/// Holds a `Mutex` for a scope; may be released and taken again within it, also by a condition variable
/// (`std::condition_variable_any`).
class VELK_SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Mutex& owner) VELK_ACQUIRE(owner) : mutex{owner} { mutex.lock(); }
    ~MutexLock() VELK_RELEASE() {
        if (held) {
            mutex.unlock();
        }
    }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    void lock() VELK_ACQUIRE() {
        mutex.lock();
        held = true;
    }
    void unlock() VELK_RELEASE() {
        held = false;
        mutex.unlock();
    }

private:
    Mutex& mutex;
    bool held{true};
};

/// Many readers or one writer.
class VELK_CAPABILITY("shared_mutex") SharedMutex {
public:
    void lock() VELK_ACQUIRE() { mutex.lock(); }
    void unlock() VELK_RELEASE() { mutex.unlock(); }
    void lock_shared() VELK_ACQUIRE_SHARED() { mutex.lock_shared(); }
    void unlock_shared() VELK_RELEASE_SHARED() { mutex.unlock_shared(); }

private:
    std::shared_mutex mutex;
};

/// Holds a `SharedMutex` alone for a scope.
class VELK_SCOPED_CAPABILITY ExclusiveLock {
public:
    explicit ExclusiveLock(SharedMutex& owner) VELK_ACQUIRE(owner) : mutex{owner} { mutex.lock(); }
    ~ExclusiveLock() VELK_RELEASE() { mutex.unlock(); }
    ExclusiveLock(const ExclusiveLock&) = delete;
    ExclusiveLock& operator=(const ExclusiveLock&) = delete;

private:
    SharedMutex& mutex;
};

/// Holds a `SharedMutex` together with other readers for a scope.
class VELK_SCOPED_CAPABILITY SharedLock {
public:
    explicit SharedLock(SharedMutex& owner) VELK_ACQUIRE_SHARED(owner) : mutex{owner} { mutex.lock_shared(); }
    ~SharedLock() VELK_RELEASE_GENERIC() { mutex.unlock_shared(); }
    SharedLock(const SharedLock&) = delete;
    SharedLock& operator=(const SharedLock&) = delete;

private:
    SharedMutex& mutex;
};

} // namespace velk::common
