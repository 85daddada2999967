#pragma once

#include "platform/common/Mutex.h"
#include "platform/tessapi/engine/NewsRing.h"

#include <atomic>
#include <chrono>
#include <cstddef>
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
/// While packages are upgraded, programs of two releases work on one store. What they cannot do without lies
/// in the first part, which every release lays out alike. The news may be laid out otherwise: who finds them
/// so does without, as long as anybody has the page open. A page whose first part is not understood is made
/// anew when nobody has it open, and otherwise refused.
///
/// The file is made anew after a restart of the machine: a lock that was held when the power went has no
/// owner that could ever free it. When somebody deletes or moves it, the next program makes another one, and
/// those that run must `follow` it there.
/// Threads: any.
class SharedPage {
public:
    static constexpr std::size_t TURNS = 3;

    struct Words {
        char magic[16];
        char bootId[40];
        pthread_mutex_t turns[TURNS]; ///< see `InterprocessLock`
        pthread_mutex_t lock;
        std::atomic<std::uint32_t> commits;    ///< rises with every one
        std::atomic<std::uint32_t> waiting;    ///< who may sleep on `commits`, see `Wakeup`
        std::atomic<std::uint32_t> breaks;     ///< see `LogBound`
        std::atomic<std::uint64_t> generation; ///< see `Generation`
        std::uint64_t newsLayout;              ///< how the rest is laid out, of whoever made the page
        NewsRing::Words news;                  ///< by way of `news()` only
    };
    static_assert(std::atomic<std::uint32_t>::is_always_lock_free);
    static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

    /// In memory.
    SharedPage();
    /// On `file`, made when it is missing; throws boost::system::system_error that names `store`, with
    /// `StoreFault::otherRelease` when a program has it open that lays it out otherwise, and with
    /// `StoreFault::locked` when one that makes or opens it does not come to an end within `longestWait`.
    SharedPage(const std::string& file, const std::string& store,
               std::chrono::milliseconds longestWait = std::chrono::milliseconds{3000});
    ~SharedPage() = default;
    SharedPage(const SharedPage&) = delete;
    SharedPage& operator=(const SharedPage&) = delete;

    /// Those of the file that is open; they stay where they are as long as the object lives.
    Words& words() const { return *shared.load(); }
    /// See `NewsRing`; null when they are laid out as another release does it.
    NewsRing::Words* news() const;

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
    /// The page of `opened` is this boot's and of this layout at return, at least in its first part.
    void makeUsable(const Opened& opened, const std::string& boot) const;

    const std::string path;
    const std::string store;
    const std::chrono::milliseconds patience;
    std::atomic<Words*> shared{nullptr};
    std::atomic<int> current{-1}; ///< descriptor of the file that is open
    velk::common::Mutex mutex;
    std::vector<std::unique_ptr<Opened>> opened VELK_GUARDED_BY(mutex); ///< the last one is in use
    std::int64_t followedMs VELK_GUARDED_BY(mutex){0}; ///< when the path was followed, by a clock nobody sets
};

} // namespace tessapi
