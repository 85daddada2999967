#pragma once

#include "platform/common/Mutex.h"
#include "platform/tessapi/client/Subscription.h"
#include "platform/tessapi/engine/Engine.h"

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace tessapi {

/// The client thread of one accessor: it follows the store's change log and makes the calls that the
/// subscriptions want, in the order of the changes, holding no lock. It sleeps without looking at the store
/// while there is no subscription.
///
/// Threads: any. The last release must not happen in a callback.
class Dispatcher final : public IOwnListener {
public:
    using Maker = std::function<std::unique_ptr<Subscription>(const Engine::Start&)>;

    /// `name` is the program's name, for messages.
    Dispatcher(std::string name, std::shared_ptr<Engine> opened);
    /// Waits for a call that is running.
    ~Dispatcher() override;
    Dispatcher(const Dispatcher&) = delete;
    Dispatcher& operator=(const Dispatcher&) = delete;

    /// Adds what `make` makes for the present state of the store and of `channels`; its identifier, never 0,
    /// is written to `*subscription` before its first call, unless that is null.
    void subscribe(const std::vector<std::uint64_t>& channels, const Maker& make, std::uint64_t* subscription)
        VELK_EXCLUDES(mutex);

    /// Returns at once; nothing happens for an unknown identifier.
    void unsubscribe(std::uint64_t subscription) VELK_EXCLUDES(mutex);

    bool passOver(std::span<const Change> changes) override VELK_EXCLUDES(mutex);

private:
    using SubscriptionPtr = std::shared_ptr<Subscription>;
    using Subscriptions = std::map<std::uint64_t, SubscriptionPtr>;
    /// Who wants what: the kind of change, the channel or device, the subscription's identifier. A change
    /// must not be held against every subscription, of which there are as many as devices.
    using Wishes = std::set<std::tuple<Change::Kind, std::uint64_t, std::uint64_t>>;

    void run() VELK_EXCLUDES(mutex);
    /// False when the thread is to end.
    bool waitForSubscriptions() VELK_EXCLUDES(mutex);
    /// Makes the calls for the changes that there are; gives whether to look again before the next signal.
    bool followLog() VELK_EXCLUDES(mutex);
    bool tryToFollow() VELK_EXCLUDES(mutex);
    void deliver(const Change& change) VELK_EXCLUDES(mutex);
    void enter(std::uint64_t id, SubscriptionPtr subscription) VELK_REQUIRES(mutex);
    /// Gives the subscription that is no longer there.
    SubscriptionPtr remove(Subscriptions::iterator entry) VELK_REQUIRES(mutex);
    /// Whether there is a subscription to changes of that kind and object.
    bool isWanted(const Change& change) const VELK_REQUIRES(mutex);
    /// In the order of subscription.
    std::vector<SubscriptionPtr> interestedIn(const Change& change) VELK_EXCLUDES(mutex);
    void call(Subscription& subscription, const Change& change) VELK_EXCLUDES(mutex);
    bool isStopping() VELK_EXCLUDES(mutex);
    /// Once until the store is there again.
    void tell(const std::exception& failure);
    void report(const std::string& text) const;

    const std::string program;
    const std::shared_ptr<Engine> engine;
    // Of the client thread: what people have been told.
    bool failing{false};
    bool lost{false};
    velk::common::Mutex mutex;
    std::condition_variable_any condition;
    bool stopping VELK_GUARDED_BY(mutex){false};
    std::uint64_t lastId VELK_GUARDED_BY(mutex){0};
    std::int64_t position VELK_GUARDED_BY(mutex){0}; ///< the newest change that was dealt with
    Subscriptions subscriptions VELK_GUARDED_BY(mutex);
    Wishes wishes VELK_GUARDED_BY(mutex);
    std::set<std::uint64_t> greedy VELK_GUARDED_BY(mutex); ///< subscriptions that want all objects
    std::thread thread;
};

} // namespace tessapi
