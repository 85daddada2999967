#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "powerdistribution/connectors/IConnector.h"
#include "testing/CallLog.h"

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace velk::testing {

/// A connector without a store: a test says what it loads and where it fails, and sees what was done.
///
/// Its log gets one line a call, in order:
///
///     init | terminate | load PATH | store PATH=VALUE | store PATH=VALUE with new alarms
///     subscribe PATH every=0 initial=1 | unsubscribe PATH | destroyed
///
/// each with "NAME." in front when the connector has a name. Like a real one it is done with a listener when
/// `unsubscribe` returns, and holds no lock while it calls one.
/// Threads: any.
class FakeConnector : public velk::powerdistribution::connectors::IConnector {
public:
    using EPath = velk::powerdistribution::EPath;
    using Value = velk::powerdistribution::Value;
    using HandlerData = velk::powerdistribution::handlers::HandlerData;
    using IConnectorListener = velk::powerdistribution::connectors::IConnectorListener;
    using SubscriptionOptions = velk::powerdistribution::connectors::SubscriptionOptions;
    using TessResources = velk::powerdistribution::connectors::TessResources;

    explicit FakeConnector(const std::string& connectorName = {},
                           std::shared_ptr<CallLog> sharedLog = std::make_shared<CallLog>()) :
        prefix{connectorName.empty() ? "" : connectorName + "."}, log{std::move(sharedLog)} {}
    ~FakeConnector() override { log->add(prefix + "destroyed"); }
    FakeConnector(const FakeConnector&) = delete;
    FakeConnector& operator=(const FakeConnector&) = delete;

    // The store's side.

    /// What `load` gives for `path` from now on.
    void setLoad(const EPath& path, Value value) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        loads[path.nodesToString()] = std::move(value);
    }

    /// `load` of a path without `setLoad` leaves the value alone, as a device connector does, and does not
    /// empty it, as a channel connector does.
    void leaveUnknownLoads(bool yes) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        leavesUnknown = yes;
    }

    /// The operation ("init", "load", "store" …) throws std::runtime_error with `text`, after it was logged;
    /// an empty text ends it.
    void throwOn(const std::string& operation, std::string text) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        failures[operation] = std::move(text);
    }

    /// Called by every `store` from then on, with no lock held.
    void onStore(std::function<void(const HandlerData&)> hook) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        storeHook = std::move(hook);
    }

    /// Calls the listener of `path` on this thread, as the store's client thread would; false when nobody
    /// listens.
    bool notify(const EPath& path, const Value& value) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        const auto found = listeners.find(path.nodesToString());
        if (found == listeners.end()) {
            return false;
        }
        IConnectorListener* const listener = found->second.listener;
        const HandlerData data{path, value, {}};
        running.emplace_back(listener, std::this_thread::get_id());
        const Running end{*this, lock};
        lock.unlock();
        listener->onConnectorValueChange(data);
        return true;
    }

    // What was done.

    const CallLog& calls() const { return *log; }
    CallLog& calls() { return *log; }

    /// The arguments of all calls of `store`, in order.
    std::vector<HandlerData> stored() const VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        return stores;
    }

    /// The last value stored for `path`; empty when there was none.
    Value lastStored(const EPath& path) const VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        for (auto data = stores.rbegin(); data != stores.rend(); ++data) {
            if (data->path.nodesToString() == path.nodesToString()) {
                return data->value;
            }
        }
        return {};
    }

    /// The options of the present subscription of `path`; nothing when nobody listens.
    std::optional<SubscriptionOptions> subscription(const EPath& path) const VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        const auto found = listeners.find(path.nodesToString());
        return found == listeners.end() ? std::nullopt : std::optional{found->second.options};
    }

    // The handler's side.

    void init() override { called("init", "init"); }
    void terminate() override { called("terminate", "terminate"); }

    void subscribe(const HandlerData& data, IConnectorListener* listener,
                   const SubscriptionOptions& options) override VELK_EXCLUDES(mutex) {
        const std::string path = data.path.nodesToString();
        {
            velk::common::MutexLock lock{mutex};
            listeners[path] = {listener, options};
        }
        called("subscribe", "subscribe " + path + " every=" + (options.notifyEveryUpdate ? "1" : "0") +
                                " initial=" + (options.notifyInitialValue ? "1" : "0"));
        if (options.notifyInitialValue) {
            notify(data.path, loaded(path).value_or(Value{}));
        }
    }

    void unsubscribe(const HandlerData& data, IConnectorListener* listener) override VELK_EXCLUDES(mutex) {
        const std::string path = data.path.nodesToString();
        called("unsubscribe", "unsubscribe " + path);
        velk::common::MutexLock lock{mutex};
        listeners.erase(path);
        while (isRunningElsewhere(listener)) {
            callbackEnded.wait(lock);
        }
    }

    void load(HandlerData& data) const override VELK_EXCLUDES(mutex) {
        const std::string path = data.path.nodesToString();
        called("load", "load " + path);
        const std::optional<Value> found = loaded(path);
        velk::common::MutexLock lock{mutex};
        if (found.has_value() || !leavesUnknown) {
            data.value = found.value_or(Value{});
        }
    }

    void store(const HandlerData& data) override VELK_EXCLUDES(mutex) {
        std::ostringstream call;
        call << "store " << data.path.nodesToString() << '=' << data.value;
        call << (data.dataConfig.alarmConfigChanged ? " with new alarms" : "");
        std::function<void(const HandlerData&)> hook;
        {
            velk::common::MutexLock lock{mutex};
            stores.push_back(data);
            hook = storeHook;
        }
        if (hook) {
            hook(data);
        }
        called("store", call.str());
    }

    TessResources getResourcesInUse() const override { return {}; }

private:
    struct Subscription {
        IConnectorListener* listener{nullptr};
        SubscriptionOptions options;
    };

    /// Ends the callback of this thread that was entered last, also when it throws.
    class Running {
    public:
        Running(FakeConnector& connector, velk::common::MutexLock& owner) : fake{connector}, lock{owner} {}
        ~Running() { fake.callbackDone(lock); }
        Running(const Running&) = delete;
        Running& operator=(const Running&) = delete;

    private:
        FakeConnector& fake;
        velk::common::MutexLock& lock;
    };

    // The lock is handed over by `notify`, which the analysis does not follow.
    void callbackDone(velk::common::MutexLock& lock) VELK_NO_THREAD_SAFETY_ANALYSIS {
        lock.lock();
        for (auto entry = running.rbegin(); entry != running.rend(); ++entry) {
            if (entry->second == std::this_thread::get_id()) {
                running.erase(std::next(entry).base());
                break;
            }
        }
        callbackEnded.notify_all();
    }

    bool isRunningElsewhere(const IConnectorListener* listener) const VELK_REQUIRES(mutex) {
        for (const auto& [called, thread] : running) {
            if (called == listener && thread != std::this_thread::get_id()) {
                return true;
            }
        }
        return false;
    }

    std::optional<Value> loaded(const std::string& path) const VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        const auto found = loads.find(path);
        return found == loads.end() ? std::nullopt : std::optional{found->second};
    }

    void called(const std::string& operation, const std::string& call) const VELK_EXCLUDES(mutex) {
        log->add(prefix + call);
        velk::common::MutexLock lock{mutex};
        const auto failure = failures.find(operation);
        if (failure != failures.end() && !failure->second.empty()) {
            throw std::runtime_error{failure->second};
        }
    }

    const std::string prefix;
    const std::shared_ptr<CallLog> log;
    mutable velk::common::Mutex mutex;
    std::condition_variable_any callbackEnded;
    bool leavesUnknown VELK_GUARDED_BY(mutex){false};
    std::map<std::string, Value> loads VELK_GUARDED_BY(mutex);
    std::map<std::string, std::string> failures VELK_GUARDED_BY(mutex);
    std::function<void(const HandlerData&)> storeHook VELK_GUARDED_BY(mutex);
    std::vector<HandlerData> stores VELK_GUARDED_BY(mutex);
    std::map<std::string, Subscription> listeners VELK_GUARDED_BY(mutex);
    std::vector<std::pair<const IConnectorListener*, std::thread::id>> running VELK_GUARDED_BY(mutex);
};

} // namespace velk::testing
