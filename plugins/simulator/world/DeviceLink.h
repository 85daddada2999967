#pragma once

#include "platform/common/Clock.h"
#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "plugins/simulator/world/FaultTable.h"
#include "plugins/simulator/world/SimulatedDevice.h"
#include "powerdistribution/protocols/CommunicationStatus.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace velk::simulator {

/// The wire between the plug-in and the device. Questions wait here when the device is slow or silent,
/// without a lock over the device, and end at once when the link is let go.
///
/// Threads: any.
class DeviceLink {
public:
    /// `silence` is how long a question goes unanswered before the link counts as lost.
    DeviceLink(std::shared_ptr<SimulatedDevice> behind, std::shared_ptr<FaultTable> present,
               std::chrono::milliseconds silence, velk::common::Clock& time);

    /// True when the device is there and answers.
    bool connect() VELK_EXCLUDES(mutex);
    void disconnect() VELK_EXCLUDES(mutex);

    /// 2 while the device is connected and answers, otherwise 3; with the time of the last change.
    powerdistribution::protocols::CommunicationStatus status() const VELK_EXCLUDES(mutex);

    /// What the device answers; empty when it has nothing to say or cannot be reached.
    Value ask(const std::string& path) VELK_EXCLUDES(mutex);
    /// The same, but the last answer while the device cannot be reached.
    Value askOrRemember(const std::string& path) VELK_EXCLUDES(mutex);
    /// The oldest events with a number above `id`; empty when the device cannot be reached.
    Value askLog(std::uint32_t id) VELK_EXCLUDES(mutex);
    /// False when the device does not take it or cannot be reached.
    bool tell(const std::string& path, const Value& value) VELK_EXCLUDES(mutex);

    /// What the device has told of itself when it was connected: known while it cannot be reached.
    std::shared_ptr<const Shape> shape() const { return device->shape(); }

    /// To be called after every change of the faults: whoever waits for the device looks again.
    void noticeFaults() VELK_EXCLUDES(mutex);

private:
    using Condition = std::function<bool()>;

    /// Whether the link holds now; keeps when that changed.
    bool isUp() const VELK_REQUIRES(mutex);
    bool isFlappedDown() const VELK_REQUIRES(mutex);
    /// Sits out what the device takes to answer; false when no answer comes.
    bool awaitAnswer(velk::common::MutexLock& lock) VELK_REQUIRES(mutex);
    /// True when `time` has passed and the fault is still there; false when it or the connection went.
    bool sitOut(velk::common::MutexLock& lock, FaultKind kind, std::chrono::milliseconds time)
        VELK_REQUIRES(mutex);
    /// What the device says, in whatever mode it is.
    Value answer(const std::string& path) const;

    const std::shared_ptr<SimulatedDevice> device;
    const std::shared_ptr<FaultTable> faults;
    const std::chrono::milliseconds timeout;
    velk::common::Clock& clock;

    mutable velk::common::Mutex mutex;
    std::condition_variable_any changed;
    bool connected VELK_GUARDED_BY(mutex){false};
    mutable bool silenceNoticed VELK_GUARDED_BY(mutex){false};
    std::optional<SimulatedDevice::Time> flappingSince VELK_GUARDED_BY(mutex);
    mutable bool wasUp VELK_GUARDED_BY(mutex){false};
    mutable conv::UnixTime since VELK_GUARDED_BY(mutex){conv::UnixTime::now()};
    std::map<std::string, Value> remembered VELK_GUARDED_BY(mutex);
};

} // namespace velk::simulator
