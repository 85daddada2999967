#pragma once

#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/StoreBrowser.h"
#include "platform/tessapi/engine/Change.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace tessapi {

class Engine;

/// One subscription: which changes it wants, and the call that each of them makes.
/// Threads: the client thread calls `callFor` and `take`; `end` may come from any.
class Subscription {
public:
    /// Channels or devices.
    using Objects = std::vector<std::uint64_t>;

    /// `start` is the number of the newest change that it must not get. It wants changes of `wantedKind`, and
    /// those of `wantedObjects` only; without these, those of all.
    Subscription(std::int64_t start, Change::Kind wantedKind, std::optional<Objects> wantedObjects) :
        kind{wantedKind}, objects{std::move(wantedObjects)}, from{start} {}
    virtual ~Subscription() = default;
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;

    /// The call that is due for a change of its kind and objects; empty when there is none after all.
    virtual std::function<void()> callFor(const Change& change, Engine& engine) = 0;

    bool isNews(const Change& change) const { return change.seq > from; }

    /// Nothing up to `change` is news any more.
    void take(const Change& change) { from = change.seq; }

    void end() { ended = true; }
    bool hasEnded() const { return ended; }

    const Change::Kind kind;
    const std::optional<Objects> objects; ///< empty for all

private:
    std::int64_t from; // of the client thread
    std::atomic<bool> ended{false};
};

/// One call per write of some channels.
class EveryWriteSubscription final : public Subscription {
public:
    EveryWriteSubscription(std::int64_t start, const std::vector<std::uint64_t>& channels,
                           InBandAccessor::ChannelCallback call);
    std::function<void()> callFor(const Change& change, Engine& engine) override;

private:
    const InBandAccessor::ChannelCallback callback;
};

/// One call when the value of a channel is another one than that delivered last, with the value as it is
/// then.
class ChangesSubscription final : public Subscription {
public:
    /// `present` are the channels with their values at `start`.
    ChangesSubscription(std::int64_t start, std::map<std::uint64_t, qz::CValue> present,
                        InBandAccessor::ChannelCallback call);
    std::function<void()> callFor(const Change& change, Engine& engine) override;

private:
    std::map<std::uint64_t, qz::CValue> delivered; // the keys never change
    const InBandAccessor::ChannelCallback callback;
};

/// One call per attribute write of a device.
class AttributeSubscription final : public Subscription {
public:
    AttributeSubscription(std::int64_t start, std::uint64_t device, InBandAccessor::DeviceCallback call);
    std::function<void()> callFor(const Change& change, Engine& engine) override;

private:
    const InBandAccessor::DeviceCallback callback;
};

/// One call per change of the set of active alarms of a device.
class AlarmSubscription final : public Subscription {
public:
    AlarmSubscription(std::int64_t start, std::uint64_t device, InBandAccessor::AlarmCallback call);
    std::function<void()> callFor(const Change& change, Engine& engine) override;

private:
    LevelAlarm told{LevelAlarm::good}; ///< by the last call
    const InBandAccessor::AlarmCallback callback;
};

/// One call per write of any channel.
class StoreSubscription final : public Subscription {
public:
    using Callback = std::function<void(const ChannelWrite&)>;

    StoreSubscription(std::int64_t start, Callback call);
    std::function<void()> callFor(const Change& change, Engine& engine) override;

private:
    const Callback callback;
};

} // namespace tessapi
