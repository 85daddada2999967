#include "platform/common/Export.h"
#include "platform/common/Mutex.h"
#include "plugins/nut/NutConfiguration.h"
#include "plugins/nut/NutProtocolLibrary.h"

#include <exception>
#include <iostream>
#include <list>
#include <string>

/// The plug-in's entry: an object that the plug-in keeps until it is unloaded, or null when the configuration
/// has no usable member "nut"; one that is wrong is told in one line on the standard error.
extern "C" VELK_EXPORT velk::powerdistribution::protocols::IProtocolLibrary*
velkProtocolLibrary(const char* configurationPath) {
    static velk::common::Mutex mutex;
    static std::list<velk::nut::NutProtocolLibrary> libraries;
    try {
        auto configuration =
            velk::nut::NutConfiguration::load(configurationPath == nullptr ? "" : configurationPath);
        if (!configuration) {
            return nullptr;
        }
        const velk::common::MutexLock lock{mutex};
        return &libraries.emplace_back(std::move(*configuration));
    } catch (const std::exception& failure) {
        std::cerr << "nut: " + std::string{failure.what()} + "\n";
        return nullptr;
    }
}

/// Checks the member "nut" of the configuration: 0 for a good one and for none. Otherwise 1, and `message`,
/// cut to `size` bytes with its end, is "FILE:LINE:COLUMN: " and what is wrong. The alarm file that the
/// member names is the host's to check.
extern "C" VELK_EXPORT int velkProtocolCheck(const char* configurationPath, char* message,
                                             unsigned long size) {
    try {
        velk::nut::NutConfiguration::load(configurationPath == nullptr ? "" : configurationPath);
        return 0;
    } catch (const std::exception& failure) {
        if (message != nullptr && size > 0) {
            message[std::string{failure.what()}.copy(message, size - 1)] = '\0';
        }
        return 1;
    }
}
