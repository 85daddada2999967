#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "plugins/simulator/model/Model.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace velk::simulator {

/// The data points that a device has, by path.
using Shape = std::map<std::string, PointInfo>;

/// The model behind one lock, with the time that has passed for it.
/// Threads: any.
class SimulatedDevice {
public:
    /// Simulated time since the device was switched on.
    using Time = std::chrono::milliseconds;

    SimulatedDevice(DeviceDescription description, std::uint32_t seed);

    void step(Time elapsed) VELK_EXCLUDES(mutex);
    Time now() const VELK_EXCLUDES(mutex);
    /// Constant.
    const DeviceDescription& description() const { return described; }

    /// What the device holds itself; empty for a path that it does not serve.
    Value read(const std::string& path) const VELK_EXCLUDES(mutex);
    bool write(const std::string& path, const Value& value, Origin origin) VELK_EXCLUDES(mutex);
    /// Empty for a path that is not served.
    std::optional<PointInfo> point(const std::string& path) const VELK_EXCLUDES(mutex);
    /// Everything that is served. Shared by all who ask until the counts or the identity change.
    std::shared_ptr<const Shape> shape() VELK_EXCLUDES(mutex);
    // As the model's operations of these names.
    void setCounts(const std::map<std::string, std::uint32_t>& counts) VELK_EXCLUDES(mutex);
    void setIdentity(const IdentityOrder& order) VELK_EXCLUDES(mutex);

    /// Lets an order show at once, although a device shows nothing between two of its steps. Takes no time.
    static void show(Model& model);

    /// Works on the model under the lock; what `work` gives comes back.
    template <typename Work>
    auto with(Work&& work) VELK_EXCLUDES(mutex) {
        const velk::common::MutexLock lock{mutex};
        return work(model);
    }

private:
    const DeviceDescription described;
    mutable velk::common::Mutex mutex;
    Model model VELK_GUARDED_BY(mutex);
    Time time VELK_GUARDED_BY(mutex){0};
    std::shared_ptr<const Shape> knownShape VELK_GUARDED_BY(mutex);
};

} // namespace velk::simulator
