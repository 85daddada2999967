#include "platform/tessapi/engine/Engine.h"

#include "platform/tessapi/engine/SqliteEngine.h"
#include "platform/tessapi/engine/StoreError.h"
#ifdef VELK_NETWORKED_STORE
#include "platform/tessapi/network/RedisEngine.h"
#endif

#include <atomic>
#include <pthread.h>
#include <stdexcept>

namespace tessapi {

namespace {

std::atomic<std::uint32_t> forks{0};

/// The forks that lead to this process. Every call of an engine asks whether there was one, and must not have
/// to ask the system.
std::uint32_t countedForks() {
    static const int registered = pthread_atfork(nullptr, nullptr, [] { forks.fetch_add(1); });
    static_cast<void>(registered);
    return forks.load(std::memory_order_relaxed);
}

} // namespace

Engine::Engine() : forksBefore{countedForks()} {}

std::shared_ptr<Engine> Engine::open(const StoreUrl& url, bool create, const Options& options) {
    if (!url.network()) {
        return SqliteEngine::open(url, create, options);
    }
#ifdef VELK_NETWORKED_STORE
    return RedisEngine::open(*url.network(), create, options);
#else
    throw std::invalid_argument{"\"" + url.text() +
                                "\" names a store of the network, which this system was "
                                "built without (VELK_NETWORKED_STORE)"};
#endif
}

std::vector<std::uint64_t> Engine::emplaceChannels(std::uint64_t device,
                                                   const std::vector<std::string>& names) {
    std::vector<std::uint64_t> channels;
    channels.reserve(names.size());
    for (const auto& name : names) {
        channels.push_back(emplaceChannel(device, name));
    }
    return channels;
}

void Engine::apply(const StoreWrites& writes) {
    for (const auto& [device, attribute, text] : writes.attributes) {
        setAttribute(device, static_cast<std::uint32_t>(attribute), text);
    }
    for (const auto& [channel, config] : writes.alarmConfigs) {
        setAlarmConfig(channel, config);
    }
    for (const auto& [channel, states] : writes.states) {
        setStates(channel, states);
    }
    if (!writes.values.empty()) {
        setValues(writes.values);
    }
}

StoreHealth Engine::health() {
    StoreHealth health;
    health.url = url();
    health.engine = health.url.substr(0, health.url.find(':'));
    return health;
}

bool Engine::isForked() const {
    return forksBefore != forks.load(std::memory_order_relaxed);
}

void Engine::add(IOwnListener& listener) {
    velk::common::MutexLock lock{listening};
    listeners.push_back(&listener);
}

void Engine::remove(IOwnListener& listener) {
    velk::common::MutexLock lock{listening};
    std::erase(listeners, &listener);
}

bool Engine::passOver(std::span<const Change> changes) {
    velk::common::MutexLock lock{listening};
    bool isNothing = !listeners.empty();
    for (auto* listener : listeners) {
        isNothing &= listener->passOver(changes); // each of them, so that all are at the newest change
    }
    return isNothing;
}

void Engine::checkNotForked() const {
    if (isForked()) {
        throwStoreFault(url(), StoreFault::forked, "");
    }
}

} // namespace tessapi
