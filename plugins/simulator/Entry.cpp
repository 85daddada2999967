#include "platform/common/Export.h"
#include "platform/common/Mutex.h"
#include "plugins/simulator/PluginFile.h"
#include "plugins/simulator/SimulatorConfiguration.h"
#include "plugins/simulator/SimulatorProtocolLibrary.h"

#include <exception>
#include <iostream>
#include <list>
#include <string>

namespace {

std::string section() {
    return velk::simulator::sectionOf(velk::simulator::pluginFile());
}

std::optional<velk::simulator::SimulatorConfiguration> load(const char* configurationPath) {
    return velk::simulator::SimulatorConfiguration::load(
        configurationPath == nullptr ? "" : configurationPath, section());
}

} // namespace

/// The plug-in's entry: an object that the plug-in keeps until it is unloaded, or null when the configuration
/// has no usable member of its name; one that is wrong is told in one line on the standard error.
extern "C" VELK_EXPORT velk::powerdistribution::protocols::IProtocolLibrary*
velkProtocolLibrary(const char* configurationPath) {
    static velk::common::Mutex mutex;
    static std::list<velk::simulator::SimulatorProtocolLibrary> libraries;
    try {
        auto configuration = load(configurationPath);
        if (!configuration) {
            return nullptr;
        }
        const velk::common::MutexLock lock{mutex};
        return &libraries.emplace_back(std::move(*configuration));
    } catch (const std::exception& failure) {
        std::cerr << section() + ": " + failure.what() + "\n";
        return nullptr;
    }
}

/// Checks the plug-in's member of the configuration: 0 for a good one and for none. Otherwise 1, and
/// `message`, cut to `size` bytes with its end, is "FILE:LINE:COLUMN: " and what is wrong, be it in the
/// configuration, in the device's file or in that of the scenario. A host may ask before it loads anything.
extern "C" VELK_EXPORT int velkProtocolCheck(const char* configurationPath, char* message,
                                             unsigned long size) {
    try {
        load(configurationPath);
        return 0;
    } catch (const std::exception& failure) {
        if (message != nullptr && size > 0) {
            message[std::string{failure.what()}.copy(message, size - 1)] = '\0';
        }
        return 1;
    }
}
