#pragma once

#include "daemon/IStoreReader.h"
#include "platform/common/Clock.h"
#include "platform/common/Mutex.h"
#include "platform/tessapi/ITessAccessor.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <unordered_set>
#include <vector>

namespace velk::daemon {

/// Gives every write of the store to some readers, with one client for all of them.
///
/// What is written into a channel that nobody has met waits until the store has been asked for it, at most
/// `TICK`. A store that cannot be opened is tried again after each `TICK`; the failure is reported in one
/// line, once until it could be.
///
/// Threads: construction, `open` and destruction on one; it has one of its own, and the client of the store
/// has one. Both inherit the signals that the constructing thread blocks.
class StoreFeed {
public:
    using Opener = std::function<std::unique_ptr<tessapi::ITessAccessor>()>;

    static constexpr velk::common::Clock::Duration TICK = std::chrono::seconds{1};

    /// No more writes than these wait; then the oldest go.
    static constexpr std::size_t MOST_WAITING = 65'536;

    /// `opener` makes the client of the store and may throw. `readers`, `errors` and `clock` must outlive
    /// this object.
    StoreFeed(Opener opener, std::vector<IStoreReader*> readers, std::ostream& errors,
              velk::common::Clock& clock = velk::common::Clock::system());

    /// No reader is called any more at return.
    ~StoreFeed();
    StoreFeed(const StoreFeed&) = delete;
    StoreFeed& operator=(const StoreFeed&) = delete;

    /// Tries at once rather than at the next `TICK`. Never throws a standard exception.
    void open() VELK_EXCLUDES(mutex);

private:
    void run() VELK_EXCLUDES(mutex);
    /// Never throws a standard exception.
    void lookAfter() VELK_REQUIRES(mutex);
    void openStore() VELK_REQUIRES(mutex);
    void meetAll(bool isFormer) VELK_REQUIRES(mutex);
    void giveWaiting() VELK_REQUIRES(mutex);
    void onWrite(const tessapi::ChannelWrite& write) VELK_EXCLUDES(mutex);
    void give(const tessapi::ChannelWrite& write) VELK_REQUIRES(mutex);
    void tell(const std::string& trouble) VELK_REQUIRES(mutex);

    const Opener opener;
    const std::vector<IStoreReader*> readers;
    std::ostream& errors;
    velk::common::Clock& clock;
    velk::common::Mutex mutex;
    std::condition_variable_any changed;
    std::unique_ptr<tessapi::ITessAccessor> store VELK_GUARDED_BY(mutex); ///< null until it could be opened
    std::unordered_set<std::uint64_t> known VELK_GUARDED_BY(mutex);
    std::deque<tessapi::ChannelWrite> waiting VELK_GUARDED_BY(mutex);
    bool failing VELK_GUARDED_BY(mutex){false};
    bool ending VELK_GUARDED_BY(mutex){false};
    std::thread thread; ///< last: it uses all the others
};

} // namespace velk::daemon
