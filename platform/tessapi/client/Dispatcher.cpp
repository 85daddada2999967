#include "platform/tessapi/client/Dispatcher.h"

#include "platform/common/Clock.h"
#include "platform/tessapi/StoreAdvice.h"
#include "platform/tessapi/engine/LossBoard.h"

#include <boost/system/system_error.hpp>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <iostream>
#include <utility>

namespace tessapi {

namespace {

using velk::common::MutexLock;

/// The longest sleep between two looks at the log: see `Wakeup::wait`.
constexpr std::chrono::milliseconds LONGEST_SLEEP{250};

template <typename Wish>
bool isOf(const Wish& wish, const Change& change) {
    return std::get<0>(wish) == change.kind && std::get<1>(wish) == change.object;
}

} // namespace

Dispatcher::Dispatcher(std::string name, std::shared_ptr<Engine> opened) :
    program{std::move(name)}, engine{std::move(opened)} {
    LossBoard::ofProcess().find(engine->url());
    thread = std::thread{[this] { run(); }};
    engine->add(*this);
}

Dispatcher::~Dispatcher() {
    engine->remove(*this);
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
        enter(lastId, std::move(made));
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
    released = remove(found);
    released->end();
    lock.unlock();
}

void Dispatcher::enter(std::uint64_t id, SubscriptionPtr subscription) {
    if (!subscription->objects) {
        greedy.insert(id);
    } else {
        for (const auto object : *subscription->objects) {
            wishes.emplace(subscription->kind, object, id);
        }
    }
    subscriptions.emplace(id, std::move(subscription));
}

Dispatcher::SubscriptionPtr Dispatcher::remove(Subscriptions::iterator entry) {
    const auto id = entry->first;
    SubscriptionPtr removed = std::move(entry->second);
    subscriptions.erase(entry);
    greedy.erase(id);
    for (const auto object : removed->objects.value_or(Subscription::Objects{})) {
        wishes.erase({removed->kind, object, id});
    }
    return removed;
}

bool Dispatcher::passOver(std::span<const Change> changes) {
    MutexLock lock{mutex};
    if (subscriptions.empty()) {
        return true;
    }
    const bool isPresent = position == changes.front().seq - 1;
    if (!isPresent || std::any_of(changes.begin(), changes.end(),
                                  [this](const Change& change) VELK_NO_THREAD_SAFETY_ANALYSIS {
                                      return isWanted(change); // the lock is held here
                                  })) {
        return false;
    }
    position = changes.back().seq;
    return true;
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
        if (std::exchange(lost, false)) {
            LossBoard::ofProcess().find(engine->url());
        }
        failing = false;
        return followed;
    } catch (const std::exception& failure) {
        tell(failure);
        return false;
    }
}

void Dispatcher::tell(const std::exception& failure) {
    const auto* ofStore = dynamic_cast<const boost::system::system_error*>(&failure);
    if (ofStore != nullptr && isStoreLost(ofStore->code())) {
        if (!std::exchange(lost, true)) {
            LossBoard::ofProcess().lose(engine->url(), static_cast<StoreFault>(ofStore->code().value()), 0);
        }
    } else if (!std::exchange(failing, true)) {
        // A store that is away for a while is tried again.
        report(failure.what());
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
    return news.more && !news.changes.empty();
}

bool Dispatcher::isWanted(const Change& change) const {
    const auto wish = wishes.lower_bound({change.kind, change.object, 0});
    return !greedy.empty() || (wish != wishes.end() && isOf(*wish, change));
}

std::vector<Dispatcher::SubscriptionPtr> Dispatcher::interestedIn(const Change& change) {
    std::vector<SubscriptionPtr> interested;
    MutexLock lock{mutex};
    std::vector<std::uint64_t> ids{greedy.begin(), greedy.end()};
    const auto first = wishes.lower_bound({change.kind, change.object, 0});
    for (auto wish = first; wish != wishes.end() && isOf(*wish, change); ++wish) {
        ids.push_back(std::get<2>(*wish));
    }
    std::inplace_merge(ids.begin(), ids.begin() + static_cast<std::ptrdiff_t>(greedy.size()), ids.end());
    for (const auto id : ids) {
        const auto& subscription = subscriptions.at(id);
        if (subscription->kind == change.kind && subscription->isNews(change)) {
            interested.push_back(subscription);
        }
    }
    return interested;
}

void Dispatcher::deliver(const Change& change) {
    for (const auto& subscription : interestedIn(change)) {
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
