#pragma once

#include "daemon/CopySeat.h"
#include "platform/common/Clock.h"
#include "platform/common/Mutex.h"
#include "platform/tessapi/ITessAccessor.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace velk::daemon {

/// Finds out when the store that programs have open is gone for good, so that only who opens it anew finds
/// the one that is there now: its file, or the copy on disk of a store that is worked on in memory, was
/// removed or replaced; its server has lost it.
///
/// A store that is merely away, locked or full is none of that. What is found must be so at two looks: a file
/// that is put back in between is the store again.
///
/// Threads: construction and destruction on one; it has one of its own, which inherits the signals that the
/// constructing thread blocks.
class StoreWatch {
public:
    using Opener = std::function<std::unique_ptr<tessapi::ITessAccessor>()>;
    /// What is wrong with which store, and since when.
    using OnLost = std::function<void(const std::string& what)>;

    /// Between two looks.
    static constexpr velk::common::Clock::Duration PERIOD = std::chrono::seconds{1};

    /// `opener` makes the client of the store and may throw; then the next look tries again. `onLost` is
    /// called once, on the thread of this object. `clock` must outlive it.
    StoreWatch(Opener opener, OnLost onLost, velk::common::Clock& clock = velk::common::Clock::system());
    ~StoreWatch();
    StoreWatch(const StoreWatch&) = delete;
    StoreWatch& operator=(const StoreWatch&) = delete;

private:
    void run() VELK_EXCLUDES(mutex);
    /// Why the store is lost; empty when it is not.
    std::string look();

    const Opener opener;
    const OnLost onLost;
    velk::common::Clock& clock;
    // Only the thread uses these.
    std::unique_ptr<tessapi::ITessAccessor> store; ///< null until it could be opened
    CopySeat copy;
    velk::common::Mutex mutex;
    std::condition_variable_any changed;
    bool ending VELK_GUARDED_BY(mutex){false};
    std::thread thread; ///< last: it uses all the others
};

} // namespace velk::daemon
