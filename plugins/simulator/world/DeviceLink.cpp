#include "plugins/simulator/world/DeviceLink.h"

#include <array>
#include <string_view>
#include <utility>

namespace velk::simulator {

using velk::common::Clock;
using velk::common::MutexLock;

namespace {

constexpr std::string_view BOOTLOADER_MODE = "Status.BootloaderMode";
constexpr std::string_view PRODUCT_NAME = "Identification.Attribute.ProductName";
constexpr std::string_view MANUFACTURER = "Identification.Attribute.Manufacturer";
constexpr std::string_view FIRMWARE_VERSION = "Identification.Attribute.FirmwareVersion";
// What tells a device from another.
constexpr std::array<std::string_view, 4> IDENTITY{
    PRODUCT_NAME, MANUFACTURER, "Identification.Attribute.SerialNumber", "Identification.Attribute.Uuid"};

bool isIdentity(std::string_view path) {
    for (const std::string_view part : IDENTITY) {
        if (part == path) {
            return true;
        }
    }
    return false;
}

} // namespace

DeviceLink::DeviceLink(std::shared_ptr<SimulatedDevice> behind, std::shared_ptr<FaultTable> present,
                       std::chrono::milliseconds silence, Clock& time) :
    device{std::move(behind)}, faults{std::move(present)}, timeout{silence}, clock{time} {
    noticeFaults();
}

bool DeviceLink::connect() {
    MutexLock lock{mutex};
    connected = true;
    silenceNoticed = false;
    connected = !faults->has(FaultKind::NotFound) && awaitAnswer(lock);
    return isUp();
}

void DeviceLink::disconnect() {
    const MutexLock lock{mutex};
    connected = false;
    isUp();
    changed.notify_all();
}

powerdistribution::protocols::CommunicationStatus DeviceLink::status() const {
    const MutexLock lock{mutex};
    const bool up = isUp();
    return {static_cast<std::uint8_t>(up ? 2 : 3), since};
}

Value DeviceLink::ask(const std::string& path) {
    MutexLock lock{mutex};
    return awaitAnswer(lock) ? answer(path) : Value{};
}

Value DeviceLink::askOrRemember(const std::string& path) {
    MutexLock lock{mutex};
    if (awaitAnswer(lock)) {
        remembered[path] = answer(path);
    }
    return remembered[path];
}

Value DeviceLink::askLog(std::uint32_t id) {
    MutexLock lock{mutex};
    if (!awaitAnswer(lock) || faults->has(FaultKind::Bootloader)) {
        return {};
    }
    return device->with([id](Model& model) { return Value{model.log().chunkAfter(id)}; });
}

bool DeviceLink::tell(const std::string& path, const Value& value) {
    MutexLock lock{mutex};
    return awaitAnswer(lock) && !faults->has(FaultKind::RefuseWrites) &&
           !faults->has(FaultKind::Bootloader) && device->write(path, value, Origin::Remote);
}

void DeviceLink::noticeFaults() {
    const MutexLock lock{mutex};
    if (!faults->has(FaultKind::Flapping)) {
        flappingSince.reset();
    } else if (!flappingSince) {
        flappingSince = device->now();
    }
    isUp();
    changed.notify_all();
}

bool DeviceLink::isFlappedDown() const {
    const auto flapping = faults->find(FaultKind::Flapping);
    if (!flapping || !flappingSince) {
        return false;
    }
    // Down first, so that the fault shows at once.
    return (device->now() - *flappingSince) / flapping->time % 2 == 0;
}

bool DeviceLink::isUp() const {
    if (!faults->has(FaultKind::Silent)) {
        silenceNoticed = false;
    }
    const bool up = connected && !silenceNoticed && !faults->has(FaultKind::LinkLost) && !isFlappedDown();
    if (up != wasUp) {
        since = conv::UnixTime::now();
        wasUp = up;
    }
    return up;
}

bool DeviceLink::awaitAnswer(MutexLock& lock) {
    if (!isUp()) {
        return false;
    }
    if (const auto slow = faults->find(FaultKind::Slow)) {
        sitOut(lock, FaultKind::Slow, slow->time);
    }
    if (faults->has(FaultKind::Silent) && sitOut(lock, FaultKind::Silent, timeout)) {
        silenceNoticed = true;
        changed.notify_all(); // the others need not wait for what is known to be lost
    }
    return isUp();
}

bool DeviceLink::sitOut(MutexLock& lock, FaultKind kind, std::chrono::milliseconds time) {
    const Clock::Duration end = clock.now() + time;
    for (;;) {
        const Clock::Duration left = end - clock.now();
        if (!isUp() || !faults->has(kind)) {
            return false;
        }
        if (left <= Clock::Duration::zero()) {
            return true;
        }
        clock.waitFor(changed, lock, left);
    }
}

Value DeviceLink::answer(const std::string& path) const {
    const bool isInBootloader = faults->has(FaultKind::Bootloader);
    if (path == BOOTLOADER_MODE) {
        return isInBootloader;
    }
    if (faults->has(FaultKind::NoIdentity) && isIdentity(path)) {
        return {};
    }
    if (isInBootloader) {
        const DeviceKind kind = device->description().kind;
        const bool isUps = kind == DeviceKind::OnlineUps || kind == DeviceKind::LineInteractiveUps;
        if (path == PRODUCT_NAME) {
            return std::string{isUps ? "UPS BOOTLOADER" : "BOOTLOADER"};
        }
        // It knows who made it and which firmware waits in it, and nothing else.
        return path == MANUFACTURER || path == FIRMWARE_VERSION ? device->read(path) : Value{};
    }
    return device->read(path);
}

} // namespace velk::simulator
