#include "daemon/LibraryManager.h"

#include <utility>

namespace velk::daemon {

namespace {

constexpr std::uint32_t IN_SERVICE = 16;

/// Takes the sign of work back at the end of a run, however it ends.
class Rest {
public:
    explicit Rest(LifeSign& lifeSign) : sign{lifeSign} {}
    ~Rest() { sign.atRest(); }
    Rest(const Rest&) = delete;
    Rest& operator=(const Rest&) = delete;

private:
    LifeSign& sign;
};

} // namespace

LibraryManager::LibraryManager(std::string configurationPath,
                               velk::powerdistribution::DeviceWriteListener onDeviceWrite,
                               velk::powerdistribution::DeviceLogListener onDeviceLog, LifeSign& lifeSign) :
    path{std::move(configurationPath)},
    listener{std::move(onDeviceWrite)},
    logListener{std::move(onDeviceLog)},
    sign{lifeSign} {}

void LibraryManager::exec() {
    velk::powerdistribution::PowerDistributionManager::Attributes attributes;
    attributes.path = path;
    attributes.onDeviceWrite = listener;
    attributes.onDeviceLog = logListener;
    // Not before: until the device is in service the store holds what an earlier run has left.
    attributes.onServiceState = [this](std::uint32_t state) {
        if (state == IN_SERVICE) {
            sign.atWork();
        }
    };
    const Rest rest{sign};
    manager.exec(std::move(attributes));
}

} // namespace velk::daemon
