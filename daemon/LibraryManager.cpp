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

/// Lets the desk ask a manager for the length of a run, however it ends.
class Explained {
public:
    Explained(ExplainDesk& explainDesk, const velk::powerdistribution::PowerDistributionManager& manager) :
        desk{explainDesk} {
        desk.open();
        desk.setDescribe([&manager](const std::string& path) { return manager.describe(path); });
    }
    ~Explained() { desk.setDescribe({}); }
    Explained(const Explained&) = delete;
    Explained& operator=(const Explained&) = delete;

private:
    ExplainDesk& desk;
};

} // namespace

LibraryManager::LibraryManager(std::string configurationPath,
                               velk::powerdistribution::DeviceWriteListener onDeviceWrite,
                               velk::powerdistribution::DeviceLogListener onDeviceLog, LifeSign& lifeSign,
                               ExplainDesk& explainDesk) :
    path{std::move(configurationPath)},
    listener{std::move(onDeviceWrite)},
    logListener{std::move(onDeviceLog)},
    sign{lifeSign},
    desk{explainDesk} {}

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
    const Explained explained{desk, manager};
    manager.exec(std::move(attributes));
}

} // namespace velk::daemon
