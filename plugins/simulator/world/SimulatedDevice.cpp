#include "plugins/simulator/world/SimulatedDevice.h"

#include <utility>

namespace velk::simulator {

using velk::common::MutexLock;

namespace {

/// The shortest step there is; the time of the simulation does not count it.
constexpr std::chrono::milliseconds MOMENT{1};

} // namespace

SimulatedDevice::SimulatedDevice(DeviceDescription description, std::uint32_t seed) :
    described{std::move(description)}, model{described, seed} {
    show(model);
}

void SimulatedDevice::show(Model& model) {
    model.step(MOMENT);
}

void SimulatedDevice::step(Time elapsed) {
    const MutexLock lock{mutex};
    model.step(elapsed);
    time += elapsed;
}

SimulatedDevice::Time SimulatedDevice::now() const {
    const MutexLock lock{mutex};
    return time;
}

Value SimulatedDevice::read(const std::string& path) const {
    const MutexLock lock{mutex};
    return model.read(path);
}

bool SimulatedDevice::write(const std::string& path, const Value& value, Origin origin) {
    const MutexLock lock{mutex};
    return model.write(path, value, origin);
}

std::optional<PointInfo> SimulatedDevice::point(const std::string& path) const {
    const MutexLock lock{mutex};
    const PointInfo* info = model.find(path);
    return info == nullptr ? std::nullopt : std::optional{*info};
}

std::shared_ptr<const Shape> SimulatedDevice::shape() {
    const MutexLock lock{mutex};
    if (!knownShape) {
        knownShape = std::make_shared<const Shape>(model.points());
    }
    return knownShape;
}

void SimulatedDevice::setCounts(const std::map<std::string, std::uint32_t>& counts) {
    const MutexLock lock{mutex};
    model.setCounts(counts);
    knownShape.reset();
}

void SimulatedDevice::setIdentity(const IdentityOrder& order) {
    const MutexLock lock{mutex};
    model.setIdentity(order);
    knownShape.reset(); // the order may name what the device did not tell of itself before
}

} // namespace velk::simulator
