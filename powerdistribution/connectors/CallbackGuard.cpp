#include "powerdistribution/connectors/CallbackGuard.h"

#include <algorithm>
#include <condition_variable>
#include <thread>
#include <vector>

namespace velk::powerdistribution::connectors {

using velk::common::Mutex;
using velk::common::MutexLock;

/// The calls that are running now, and whether new ones may begin. Outlives the connector as long as the
/// store keeps a function or a call is running.
class CallbackGuard::Block {
public:
    bool enter(const IConnectorListener* listener) VELK_EXCLUDES(mutex) {
        MutexLock lock{mutex};
        if (closed) {
            return false;
        }
        running.push_back({std::this_thread::get_id(), listener});
        return true;
    }

    void leave(const IConnectorListener* listener) VELK_EXCLUDES(mutex) {
        MutexLock lock{mutex};
        const auto own = std::find_if(running.begin(), running.end(), [&](const Running& call) {
            return call.thread == std::this_thread::get_id() && call.listener == listener;
        });
        running.erase(own);
        left.notify_all();
    }

    void waitFor(const IConnectorListener* listener) VELK_EXCLUDES(mutex) {
        MutexLock lock{mutex};
        while (isOtherThreadIn([&](const Running& call) { return call.listener == listener; })) {
            left.wait(lock);
        }
    }

    void close() VELK_EXCLUDES(mutex) {
        MutexLock lock{mutex};
        closed = true;
        while (isOtherThreadIn([](const Running&) { return true; })) {
            left.wait(lock);
        }
    }

    bool isClosed() const VELK_EXCLUDES(mutex) {
        MutexLock lock{mutex};
        return closed;
    }

private:
    struct Running {
        std::thread::id thread;
        const IConnectorListener* listener; ///< null for a call of the connector itself
    };

    template <typename Predicate>
    bool isOtherThreadIn(const Predicate& isMeant) const VELK_REQUIRES(mutex) {
        return std::any_of(running.begin(), running.end(), [&](const Running& call) {
            return call.thread != std::this_thread::get_id() && isMeant(call);
        });
    }

    mutable Mutex mutex;
    std::condition_variable_any left;
    bool closed VELK_GUARDED_BY(mutex){false};
    std::vector<Running> running VELK_GUARDED_BY(mutex);
};

CallbackGuard::Call::Call(std::shared_ptr<Block> owner, const IConnectorListener* called) :
    block{std::move(owner)}, listener{called}, admitted{block->enter(called)} {}

CallbackGuard::Call::~Call() {
    if (admitted) {
        block->leave(listener);
    }
}

CallbackGuard::CallbackGuard() : block{std::make_shared<Block>()} {}

CallbackGuard::~CallbackGuard() {
    close();
}

// The analysis does not follow a lock that is released and taken again through a reference.
bool CallbackGuard::notify(IConnectorListener& listener, const handlers::HandlerData& data,
                           MutexLock& lock) const VELK_NO_THREAD_SAFETY_ANALYSIS {
    // The listener may destroy this guard.
    const std::shared_ptr<Block> kept = block;
    {
        // Known to the block before the lock goes, so that `waitFor` after an unsubscription sees it.
        const Call call{kept, &listener};
        lock.unlock();
        if (call.isAdmitted()) {
            listener.onConnectorValueChange(data);
        }
    }
    if (kept->isClosed()) {
        return false;
    }
    lock.lock();
    return true;
}

void CallbackGuard::waitFor(const IConnectorListener* listener) const {
    if (listener != nullptr) {
        block->waitFor(listener);
    }
}

void CallbackGuard::close() {
    block->close();
}

bool CallbackGuard::isClosed() const {
    return block->isClosed();
}

} // namespace velk::powerdistribution::connectors
