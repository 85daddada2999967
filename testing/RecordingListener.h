#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "powerdistribution/connectors/IConnectorListener.h"

#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

namespace velk::testing {

/// A listener that keeps what it hears, and then does what a test asks of it, on the caller's thread.
/// Threads: any.
class RecordingListener : public velk::powerdistribution::connectors::IConnectorListener {
public:
    using HandlerData = velk::powerdistribution::handlers::HandlerData;

    RecordingListener() = default;
    explicit RecordingListener(std::function<void(const HandlerData&)> action) :
        reaction{std::move(action)} {}

    void onConnectorValueChange(const HandlerData& data) override VELK_EXCLUDES(mutex) {
        {
            velk::common::MutexLock lock{mutex};
            changes.push_back(data);
        }
        if (reaction) {
            reaction(data);
        }
    }

    /// Everything heard so far, in order.
    std::vector<HandlerData> heard() const VELK_EXCLUDES(mutex) {
        velk::common::MutexLock lock{mutex};
        return changes;
    }
    std::size_t count() const { return heard().size(); }

private:
    const std::function<void(const HandlerData&)> reaction;
    mutable velk::common::Mutex mutex;
    std::vector<HandlerData> changes VELK_GUARDED_BY(mutex);
};

} // namespace velk::testing
