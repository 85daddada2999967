#include "platform/tessapi/client/Dispatcher.h"

#include "platform/common/Clock.h"

#include <algorithm>
#include <chrono>
#include <iostream>
#include <utility>

namespace tessapi {

namespace {

using velk::common::MutexLock;

/// The longest sleep between two looks at the log: see `Wakeup::wait`.
constexpr std::chrono::milliseconds LONGEST_SLEEP{250};

} // namespace

Dispatcher::Dispatcher(std::string name, std::shared_ptr<Engine> opened) :
    program{std::move(name)}, engine{std::move(opened)}, thread{[this] { run(); }} {}

Dispatcher::~Dispatcher() {
    {
        MutexLock lock{mutex};
        stopping = true;
    }
    condition.notify_all();
    engine->wakeup().signal();
    thread.join();
}

void Dispatcher::subscribe(const std::vector<std::uint64_t>& channels, const Maker& make,
                           std::uint64_t* subscription) {
    {
        // Held over the reading: the client thread must not go past the start before the subscription is
        // there.
        MutexLock lock{mutex};
        const auto start = engine->startOf(channels);
        std::shared_ptr<Subscription> made = make(start);
        if (subscriptions.empty()) {
            position = start.seq;
        }
        ++lastId;
        if (subscription != nullptr) {
            *subscription = lastId;
        }
        subscriptions.emplace(lastId, std::move(made));
    }
    condition.notify_all();
}

void Dispatcher::unsubscribe(std::uint64_t subscription) {
    std::shared_ptr<Subscription> released; // what the callback holds goes outside of the lock
    MutexLock lock{mutex};
    const auto found = subscriptions.find(subscription);
    if (found == subscriptions.end()) {
        return;
    }
    found->second->end();
    released = std::move(found->second);
    subscriptions.erase(found);
    lock.unlock();
}

void Dispatcher::run() {
    while (waitForSubscriptions()) {
        const auto ticket = engine->wakeup().ticket();
        if (!tryToFollow() && !isStopping()) {
            engine->wakeup().wait(ticket, LONGEST_SLEEP);
        }
    }
}

bool Dispatcher::waitForSubscriptions() {
    MutexLock lock{mutex};
    while (!stopping && subscriptions.empty()) {
        velk::common::Clock::system().waitFor(condition, lock, std::chrono::hours{1});
    }
    return !stopping;
}

bool Dispatcher::isStopping() {
    MutexLock lock{mutex};
    return stopping;
}

bool Dispatcher::tryToFollow() {
    try {
        const bool followed = followLog();
        failing = false;
        return followed;
    } catch (const std::exception& failure) {
        // A store that is away for a while is told of once and tried again.
        if (!failing) {
            report(failure.what());
        }
        failing = true;
        return false;
    }
}

bool Dispatcher::followLog() {
    std::int64_t seen = 0;
    {
        MutexLock lock{mutex};
        seen = position;
    }
    const auto news = engine->newsAfter(seen);
    if (news.gap) {
        report("fell behind the store " + engine->url() + "; continuing with the present values");
    }
    for (const auto& change : news.changes) {
        deliver(change);
        MutexLock lock{mutex};
        if (stopping) {
            return false;
        }
        position = std::max(position, change.seq);
    }
    MutexLock lock{mutex};
    position = std::max(position, news.upTo);
    return !news.changes.empty();
}

void Dispatcher::deliver(const Change& change) {
    std::vector<std::shared_ptr<Subscription>> interested;
    {
        MutexLock lock{mutex};
        for (const auto& [_, subscription] : subscriptions) {
            if (subscription->isNews(change)) {
                interested.push_back(subscription);
            }
        }
    }
    for (const auto& subscription : interested) {
        call(*subscription, change);
    }
}

void Dispatcher::call(Subscription& subscription, const Change& change) {
    // This may fail, and the change come again: who has been called for it by then must not be called twice.
    const auto due = subscription.callFor(change, *engine);
    subscription.take(change);
    if (!due || subscription.hasEnded() || isStopping()) {
        return;
    }
    try {
        due();
    } catch (const std::exception& failure) {
        report(std::string{"a callback of the store failed: "} + failure.what());
    } catch (...) {
        report("a callback of the store failed");
    }
}

void Dispatcher::report(const std::string& text) const {
    // One write for the whole line, which other threads may not split.
    std::cerr << "WARNING - " + program + ": " + text + "\n" << std::flush;
}

} // namespace tessapi
