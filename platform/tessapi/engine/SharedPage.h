#pragma once

#include "platform/common/Mutex.h"
#include "platform/tessapi/engine/NewsRing.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <pthread.h>
#include <string>
#include <sys/types.h>
#include <vector>

namespace tessapi {

/// The words that all programs with one store share: the lock of its writers and the word that its
/// listeners sleep on. They live in the file `PATH-lock` beside the store, or in this process alone for a
/// store in memory.
///
/// The file is made anew after a restart of the machine: a lock that was held when the power went has no
/// owner that could ever free it. When somebody deletes or moves it, the next program makes another one, and
/// those that run must `follow` it there.
/// Threads: any.
class SharedPage {
public:
    struct Words {
        char magic[16];
        char bootId[40];
        pthread_mutex_t turn; ///< held while waiting for `lock`: who comes first gets it first
        pthread_mutex_t lock;
        std::atomic<std::uint32_t> commits;    ///< rises with every one
        std::atomic<std::uint32_t> waiting;    ///< 1 while some listener may sleep on `commits`
        std::atomic<std::uint32_t> breaks;     ///< see `LogBound`
        std::atomic<std::uint64_t> generation; ///< see `Generation`
        NewsRing::Words news;                  ///< see `NewsRing`
    };
    static_assert(std::atomic<std::uint32_t>::is_always_lock_free);
    static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

    /// In memory.
    SharedPage();
    /// On `file`, made when it is missing; throws boost::system::system_error that names `store`.
    SharedPage(const std::string& file, const std::string& store);
    ~SharedPage() = default;
    SharedPage(const SharedPage&) = delete;
    SharedPage& operator=(const SharedPage&) = delete;

    /// Those of the file that is open; they stay where they are as long as the object lives.
    Words& words() const { return *shared.load(); }

    /// Goes on with the file that other programs open now, if somebody has deleted the one that is open, or
    /// has moved it, which is noticed within 100 ms. True when that was so. Called by who holds the lock of
    /// the page.
    bool follow() VELK_EXCLUDES(mutex);

    /// Whether the process has this file open by an object of this class.
    bool isOpenIn(pid_t process) VELK_EXCLUDES(mutex);

private:
    struct Opened {
        ~Opened();

        int file{-1};
        Words* words{nullptr};
    };

    void open() VELK_REQUIRES(mutex);
    /// Whether the path leads to the file that is open, as far as is looked at it this time.
    bool isInPlace() VELK_REQUIRES(mutex);
    /// Opens and locks the file that the path leads to.
    int openLocked() const;
    Words* map(int file) const;

    const std::string path;
    const std::string store;
    std::atomic<Words*> shared{nullptr};
    std::atomic<int> current{-1}; ///< descriptor of the file that is open
    velk::common::Mutex mutex;
    std::vector<std::unique_ptr<Opened>> opened VELK_GUARDED_BY(mutex); ///< the last one is in use
    std::int64_t followedMs VELK_GUARDED_BY(mutex){0}; ///< when the path was followed, by a clock nobody sets
};

} // namespace tessapi
