#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "platform/tessapi/StoreWrites.h"

#include <atomic>
#include <cstdint>
#include <exception>
#include <functional>
#include <thread>

namespace tessapi {
class InBandAccessor;
}

namespace velk::powerdistribution::connectors {

/// Lets what one thread writes while it brings a tree up wait for each other, so that it reaches the store as
/// groups: values, the alarm configurations and labels of channels, the texts of devices. What is done to one
/// channel or text keeps its order, also with what others do to it.
///
/// When the store refuses a group its writes are made one by one, so that one that fails takes no other
/// along. A value or text that was refused is put right by whoever stores it, with the next try; a
/// configuration is sent once only, so it goes on waiting, for the next group, until its channel gets another
/// one.
///
/// Threads: any. The lock covers the writes; lock order: as a connector's channel lock, and behind it.
class WriteGroup {
public:
    using AlarmConfig = qz::tess::CSingleAlarmConfig;

    /// Runs `work`. What it leaves waiting on this thread is in the store when this returns, also when `work`
    /// throws. Throws what `work` throws, else the first failure of what was waiting. Without effect on the
    /// writes when a thread is doing that already.
    void run(tessapi::InBandAccessor& store, const std::function<void()>& work) VELK_EXCLUDES(lock);

    /// Whether writes of this thread may wait.
    bool isOpenHere() const { return owner.load() == std::this_thread::get_id(); }

    /// What may wait. Only while it is open here.
    void add(std::uint64_t channel, const qz::CValue& value) VELK_EXCLUDES(lock);
    void add(std::uint64_t channel, const AlarmConfig& config) VELK_EXCLUDES(lock);
    void add(std::uint64_t channel, const qz::CMultistateMap& states) VELK_EXCLUDES(lock);
    void add(std::uint64_t device, tessapi::DeviceAttribute attribute, const std::string& text)
        VELK_EXCLUDES(lock);

    /// Writes all that waits, if something of that channel is among it. To be called before anything is
    /// written to the channel in the store. Throws the first failure, but only on the thread whose writes
    /// these are; on another one it is kept for that one.
    void settle(std::uint64_t channel) VELK_EXCLUDES(lock);
    /// Likewise for a value of that channel; before it is read.
    void settleValue(std::uint64_t channel) VELK_EXCLUDES(lock);
    /// Likewise for a text of a device; before it is read or written.
    void settle(std::uint64_t device, tessapi::DeviceAttribute attribute) VELK_EXCLUDES(lock);
    /// As `settle` of the channel, before it gets another configuration at once, and other labels if
    /// `withStates`: one that the store goes on refusing is dropped, for it must not follow the newer one.
    void supersede(std::uint64_t channel, bool withStates) VELK_EXCLUDES(lock);

private:
    std::exception_ptr close() VELK_EXCLUDES(lock);
    /// Something was added.
    void take() VELK_REQUIRES(lock);
    template <class Condition>
    void settleIf(Condition isMeant) VELK_EXCLUDES(lock);
    bool hasValueOf(std::uint64_t channel) const VELK_REQUIRES(lock);
    void writeAll() VELK_REQUIRES(lock);
    void writeEach() VELK_REQUIRES(lock);
    template <class Write>
    bool tryTo(Write write) VELK_REQUIRES(lock);
    void tellFailure() VELK_REQUIRES(lock);

    std::atomic<std::thread::id> owner{};
    std::atomic<bool> isBusy{false}; ///< false while it is closed and nothing waits
    velk::common::Mutex lock;
    tessapi::InBandAccessor* target VELK_GUARDED_BY(lock){nullptr}; ///< null until it was open once
    tessapi::StoreWrites waiting VELK_GUARDED_BY(lock);
    bool isAway VELK_GUARDED_BY(lock){false};         ///< the store was, when it was asked last
    std::exception_ptr failure VELK_GUARDED_BY(lock); ///< the first one, until it was thrown
};

} // namespace velk::powerdistribution::connectors
