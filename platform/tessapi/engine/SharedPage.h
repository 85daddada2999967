#pragma once

#include <atomic>
#include <cstdint>
#include <pthread.h>
#include <string>

namespace tessapi {

/// The few words that all programs with one store share: the lock of its writers and the word that its
/// listeners sleep on. They live in the file `PATH-lock` beside the store, or in this process alone for a
/// store in memory.
///
/// The file is made anew after a restart of the machine: a lock that was held when the power went has no
/// owner that could ever free it.
class SharedPage {
public:
    struct Words {
        char magic[16];
        char bootId[40];
        pthread_mutex_t turn; ///< held while waiting for `lock`: who comes first gets it first
        pthread_mutex_t lock;
        std::atomic<std::uint32_t> news;    ///< rises with every commit
        std::atomic<std::uint32_t> waiting; ///< 1 while some listener may sleep on `news`
    };
    static_assert(std::atomic<std::uint32_t>::is_always_lock_free);

    /// In memory.
    SharedPage();
    /// On `file`, made when it is missing; throws boost::system::system_error that names `store`.
    SharedPage(const std::string& file, const std::string& store);
    ~SharedPage();
    SharedPage(const SharedPage&) = delete;
    SharedPage& operator=(const SharedPage&) = delete;

    Words& words() const { return *shared; }

private:
    void map(int file, const std::string& store);

    Words* shared{nullptr};
};

} // namespace tessapi
