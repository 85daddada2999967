#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "powerdistribution/protocols/IProtocol.h"
#include "testing/CallLog.h"

#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace velk::testing {

/// A protocol without a device: a test says whether it finds one and how the link is.
///
/// Its log gets "NAME.start", "NAME.discover", "NAME.disconnect", "NAME.stop" and "NAME.destroyed"; several
/// protocols may share one log.
/// Threads: any.
class FakeProtocol : public velk::powerdistribution::protocols::IProtocol {
public:
    using CommunicationStatus = velk::powerdistribution::protocols::CommunicationStatus;

    explicit FakeProtocol(velk::common::Uuid protocolUuid = velk::common::Uuid::VELK_NAMESPACE,
                          std::string protocolName = "protocol",
                          std::shared_ptr<CallLog> sharedLog = std::make_shared<CallLog>()) :
        uuid{protocolUuid}, name{std::move(protocolName)}, log{std::move(sharedLog)} {}
    ~FakeProtocol() override { log->add(name + ".destroyed"); }
    FakeProtocol(const FakeProtocol&) = delete;
    FakeProtocol& operator=(const FakeProtocol&) = delete;

    /// What `discover` gives from now on; false at first.
    void setFound(bool yes) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        found = yes;
    }

    /// What `communicationStatus` gives from now on; state 2 since 1970 at first.
    void setStatus(std::uint8_t state, conv::UnixTime since) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        status = {state, since};
    }

    /// "start", "stop", "discover" or "disconnect" throws std::runtime_error with `text`; an empty text ends
    /// it.
    void throwOn(const std::string& operation, std::string text) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        failures[operation] = std::move(text);
    }

    /// Run by `disconnect` from now on, after it was logged.
    void onDisconnect(std::function<void()> action) VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        disconnectAction = std::move(action);
    }

    const CallLog& calls() const { return *log; }

    void start() override { called("start"); }
    void stop() override { called("stop"); }
    const velk::common::Uuid& protocolUuid() const override { return uuid; }

    CommunicationStatus communicationStatus() const override VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        return status;
    }

    bool discover() override VELK_EXCLUDES(mutex) {
        called("discover");
        velk::common::MutexLock lock{mutex};
        return found;
    }

    void disconnect() override VELK_EXCLUDES(mutex) {
        called("disconnect");
        std::function<void()> action;
        {
            velk::common::MutexLock lock{mutex};
            action = disconnectAction;
        }
        if (action) {
            action();
        }
    }

private:
    void called(const std::string& operation) VELK_EXCLUDES(mutex) {
        log->add(name + "." + operation);
        velk::common::MutexLock lock{mutex};
        if (!failures[operation].empty()) {
            throw std::runtime_error{failures[operation]};
        }
    }

    const velk::common::Uuid uuid;
    const std::string name;
    const std::shared_ptr<CallLog> log;
    mutable velk::common::Mutex mutex;
    bool found VELK_GUARDED_BY(mutex){false};
    CommunicationStatus status VELK_GUARDED_BY(mutex){2, {}};
    std::map<std::string, std::string> failures VELK_GUARDED_BY(mutex);
    std::function<void()> disconnectAction VELK_GUARDED_BY(mutex);
};

} // namespace velk::testing
