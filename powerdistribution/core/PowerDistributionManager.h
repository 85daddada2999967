#pragma once

#include "platform/common/Clock.h"
#include "platform/common/Export.h"
#include "platform/common/Mutex.h"
#include "powerdistribution/core/DeviceLog.h"
#include "powerdistribution/core/DeviceWrite.h"
#include "powerdistribution/core/PointDescription.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace velk::powerdistribution {

/// Connects one power device to the store of its machine: the entry class of the library.
///
/// Threads: `exec` on a thread of its own, `exit` and `operatingStatus` from any thread. The manager is
/// destroyed after `exec` has returned.
class VELK_EXPORT PowerDistributionManager {
public:
    /// What a run needs to know.
    struct Attributes {
        /// The configuration file, which also tells where the plug-ins are.
        std::string path;
        /// Told of each write of a setting or action to the device; empty for nobody.
        DeviceWriteListener onDeviceWrite;
        /// Told of each look at the device's own event log; empty for nobody.
        DeviceLogListener onDeviceLog;
        /// Told of each service state as it is entered (see `operatingStatus`), on the thread of `exec`;
        /// empty for nobody.
        std::function<void(std::uint32_t)> onServiceState;
        /// What the lifecycle's pauses go by; null for the machine's clock.
        velk::common::Clock* clock{nullptr};
    };

    PowerDistributionManager();

    /// Releases everything that `exec` has made, in reverse order.
    ~PowerDistributionManager();
    PowerDistributionManager(const PowerDistributionManager&) = delete;
    PowerDistributionManager& operator=(const PowerDistributionManager&) = delete;

    /// Runs the lifecycle and returns when the device has been let go. A manager runs once in its life: a
    /// further call returns at once. Exceptions of the store, of plug-ins and of the alarm file pass through.
    void exec(Attributes&& attributes);

    /// Asks for the end and does not wait for it; `exec` notices within two seconds. Does nothing before
    /// `exec`.
    void exit();

    /// The service state, one for the whole process: 0 before the first state of the first run, 3 starting,
    /// 16 in service, 4 stopping, 5 stopped.
    std::uint32_t operatingStatus() const;

    /// What the library knows of the data point that people write as `point`, such as
    /// "Inputs.1.Measure.Voltage", beyond what the store shows: nothing before `exec`. Asks the plug-in, but
    /// not the device; walks the whole data model, which takes about a microsecond a data point. Not while
    /// the manager is destroyed.
    PointDescription describe(const std::string& point) const;

private:
    class Private;

    velk::common::Mutex creation;
    std::unique_ptr<Private> owned VELK_GUARDED_BY(creation);
    std::atomic<Private*> published{nullptr};
};

} // namespace velk::powerdistribution
