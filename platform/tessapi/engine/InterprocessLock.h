#pragma once

#include "platform/common/ThreadAnnotations.h"
#include "platform/tessapi/engine/SharedPage.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace tessapi {

/// The one lock under which every program writes the store and copies its log. The kernel frees it when its
/// holder dies, also by SIGKILL; the database then drops what the dead one had not committed.
///
/// Who comes first gets it first, by a turn that is held while one waits for it. A program that is stopped
/// while it waits keeps its turn; the others then pass it over and line up at another one.
/// Threads: any, of any process.
class VELK_CAPABILITY("mutex") InterprocessLock {
public:
    /// `page` outlives the lock. `store` names the store in messages.
    InterprocessLock(SharedPage& owner, std::string storeName, std::chrono::milliseconds longestWait);

    /// Throws boost::system::system_error `StoreFault::locked` when it is not free within the longest wait.
    void lock() VELK_ACQUIRE();
    void unlock() VELK_RELEASE();

    /// What the programs share besides the lock.
    SharedPage::Words& words() const { return page.words(); }
    /// Whether the process has this lock in use.
    bool isUsedBy(pid_t process) const { return page.isOpenIn(process); }

private:
    /// False, and nothing is held, when the other programs have another page by now.
    bool lockPresentPage(std::chrono::steady_clock::time_point end);
    /// Null when all are held by programs that do not get on.
    pthread_mutex_t* takeTurn(SharedPage::Words& words, std::chrono::steady_clock::time_point end);

    SharedPage& page;
    SharedPage::Words* held{nullptr}; ///< of who holds the lock
    std::string store;
    std::chrono::milliseconds patience;
    std::atomic<std::size_t> passedOver{0}; ///< turns that are not waited for
    std::atomic<std::int64_t> passedMs{0};  ///< since when
};

/// Holds an `InterprocessLock` for a scope.
class VELK_SCOPED_CAPABILITY InterprocessHold {
public:
    explicit InterprocessHold(InterprocessLock& owner) VELK_ACQUIRE(owner) : held{owner} { held.lock(); }
    ~InterprocessHold() VELK_RELEASE() { held.unlock(); }
    InterprocessHold(const InterprocessHold&) = delete;
    InterprocessHold& operator=(const InterprocessHold&) = delete;

private:
    InterprocessLock& held;
};

} // namespace tessapi
