#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "platform/qz/CValue.h"

#include <atomic>
#include <cstdint>
#include <exception>
#include <functional>
#include <thread>
#include <utility>
#include <vector>

namespace tessapi {
class InBandAccessor;
}

namespace velk::powerdistribution::connectors {

/// Lets the values that one thread stores while it brings a tree up wait for each other, so that they reach
/// the store as groups. They keep their order among each other and with all that is done to their channels.
///
/// When the store refuses a group its values are written one by one, so that a value that fails takes no
/// other one along.
///
/// Threads: any. The lock covers the writes; lock order: as a connector's channel lock, and behind it.
class WriteGroup {
public:
    /// Runs `work`. The values that it leaves waiting on this thread are in the store when this returns, also
    /// when `work` throws. Throws what `work` throws, else the first failure of a value that was waiting.
    /// Without effect on the writes when a thread is doing that already.
    void run(tessapi::InBandAccessor& store, const std::function<void()>& work) VELK_EXCLUDES(lock);

    /// Whether values of this thread may wait.
    bool isOpenHere() const { return owner.load() == std::this_thread::get_id(); }

    /// A value that may wait. Only while it is open here.
    void add(std::uint64_t channel, const qz::CValue& value) VELK_EXCLUDES(lock);

    /// Writes all that waits, if a value of that channel is among it. To be called before anything else is
    /// done to the channel in the store. Throws the first failure, but only on the thread whose values these
    /// are; on another one it is kept for that one.
    void settle(std::uint64_t channel) VELK_EXCLUDES(lock);

private:
    bool isOpen() const { return owner.load() != std::thread::id{}; }
    std::exception_ptr close() VELK_EXCLUDES(lock);
    void writeAll() VELK_REQUIRES(lock);
    void writeEach() VELK_REQUIRES(lock);
    void tellFailure() VELK_REQUIRES(lock);

    std::atomic<std::thread::id> owner{};
    velk::common::Mutex lock;
    tessapi::InBandAccessor* target VELK_GUARDED_BY(lock){nullptr}; ///< null while it is closed
    std::vector<std::pair<std::uint64_t, qz::CValue>> waiting VELK_GUARDED_BY(lock);
    std::exception_ptr failure VELK_GUARDED_BY(lock); ///< the first one, until it was thrown
};

} // namespace velk::powerdistribution::connectors
