#pragma once

#include "platform/common/Mutex.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace tessapi::contract {

/// How long a test waits for what must come; far beyond what a loaded machine needs.
inline constexpr std::chrono::seconds DEADLINE{30};

/// What callbacks brought, in their order. A shared handle: callbacks hold copies of it, so that a late call
/// finds it alive.
/// Threads: any.
template <typename T>
class Recorder {
public:
    void add(T item) const {
        const velk::common::MutexLock lock{state->mutex};
        state->items.push_back(std::move(item));
        state->changed.notify_all();
    }

    std::vector<T> all() const {
        const velk::common::MutexLock lock{state->mutex};
        return state->items;
    }

    /// What has come once there are `count` items; what there is when the deadline passes.
    std::vector<T> waitFor(std::size_t count) const {
        return waitUntil([count](const std::vector<T>& items) { return items.size() >= count; });
    }

    /// What has come once `item` is among it; what there is when the deadline passes.
    std::vector<T> waitForItem(const T& item) const {
        return waitUntil([&item](const std::vector<T>& items) {
            return std::find(items.begin(), items.end(), item) != items.end();
        });
    }

private:
    struct State {
        velk::common::Mutex mutex;
        std::condition_variable_any changed;
        std::vector<T> items;
    };

    template <typename Predicate>
    std::vector<T> waitUntil(Predicate isEnough) const {
        velk::common::MutexLock lock{state->mutex};
        const auto deadline = std::chrono::steady_clock::now() + DEADLINE;
        while (!isEnough(state->items) && std::chrono::steady_clock::now() < deadline) {
            state->changed.wait_until(lock, deadline);
        }
        return state->items;
    }

    std::shared_ptr<State> state{std::make_shared<State>()};
};

} // namespace tessapi::contract
