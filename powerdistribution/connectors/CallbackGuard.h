#pragma once

#include "platform/common/Mutex.h"
#include "powerdistribution/connectors/HandlerData.h"
#include "powerdistribution/connectors/IConnectorListener.h"

#include <functional>
#include <memory>
#include <utility>

namespace velk::powerdistribution::connectors {

/// What stands between the store's callbacks and a connector, and dies with it: the store keeps functions
/// made by `guarded`, which reach the connector only while the guard is open.
///
/// A connector closes its guard first of all in its destructor. It may be destroyed from inside of one of its
/// own callbacks: that one is not waited for, and `notify` then tells it to touch the connector no more.
///
/// Threads: every operation may come from any thread; `notify` with the connector's lock held, the others
/// without it.
class CallbackGuard {
public:
    CallbackGuard();
    ~CallbackGuard();
    CallbackGuard(const CallbackGuard&) = delete;
    CallbackGuard& operator=(const CallbackGuard&) = delete;

    /// `function` in the form in which the store may keep it: it does nothing once the guard is closed.
    template <typename... Arguments, typename Function>
    std::function<void(Arguments...)> guarded(Function function) const {
        return [kept = block, function = std::move(function)](Arguments... arguments) {
            const Call call{kept, nullptr};
            if (call.isAdmitted()) {
                function(std::forward<Arguments>(arguments)...);
            }
        };
    }

    /// Calls `listener` with `lock` released and takes `lock` again. False when the guard was closed
    /// meanwhile: the connector may be gone, and the caller returns at once without touching it; `lock` is
    /// not held then.
    bool notify(IConnectorListener& listener, const handlers::HandlerData& data,
                velk::common::MutexLock& lock) const;

    /// Waits until no other thread is inside of `listener` on behalf of this connector. Null is nobody.
    void waitFor(const IConnectorListener* listener) const;

    /// From now on no callback gets through; waits for those that other threads are running.
    void close();

    /// True as soon as `close` has begun.
    bool isClosed() const;

private:
    class Block;

    /// One running call, of the connector or of one of its listeners, known to the block for a scope.
    class Call {
    public:
        Call(std::shared_ptr<Block> owner, const IConnectorListener* called);
        ~Call();
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;
        bool isAdmitted() const { return admitted; }

    private:
        std::shared_ptr<Block> block;
        const IConnectorListener* listener;
        bool admitted;
    };

    std::shared_ptr<Block> block;
};

} // namespace velk::powerdistribution::connectors
