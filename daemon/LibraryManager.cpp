#include "daemon/LibraryManager.h"

#include <utility>

namespace velk::daemon {

LibraryManager::LibraryManager(std::string configurationPath,
                               velk::powerdistribution::DeviceWriteListener onDeviceWrite) :
    path{std::move(configurationPath)}, listener{std::move(onDeviceWrite)} {}

void LibraryManager::exec() {
    velk::powerdistribution::PowerDistributionManager::Attributes attributes;
    attributes.path = path;
    attributes.onDeviceWrite = listener;
    manager.exec(std::move(attributes));
}

} // namespace velk::daemon
