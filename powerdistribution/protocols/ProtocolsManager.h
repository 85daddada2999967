#pragma once

#include "platform/common/DynamicLibrary.h"
#include "platform/common/Export.h"
#include "powerdistribution/core/Configuration.h"
#include "powerdistribution/protocols/IProtocol.h"
#include "powerdistribution/protocols/IWrapperFactory.h"

#include <list>
#include <memory>
#include <string>
#include <vector>

namespace velk::powerdistribution::protocols {

/// Loads the protocol plug-ins, lets each look for the device in turn, and holds the one that found it.
///
/// Threads: one, that of the state machine; it has no lock. An exception of a plug-in passes to the caller.
class VELK_EXPORT ProtocolsManager {
public:
    /// Loads the plug-ins that `configuration.path` tells (none for an empty path), creates the protocol of
    /// each, and when all are there starts them in order.
    explicit ProtocolsManager(const Configuration& configuration);

    /// Disconnects, stops every protocol in order, and unloads the plug-ins last. A plug-in that fails at
    /// that is told on the standard error with "WARNING - " and holds up nothing.
    ~ProtocolsManager();
    ProtocolsManager(const ProtocolsManager&) = delete;
    ProtocolsManager& operator=(const ProtocolsManager&) = delete;

    /// Disconnects, then asks the protocols in order until one has found the device; true when one has.
    bool discover();

    /// Makes the wrapper factory of the device; false when no protocol holds one. Throws std::runtime_error
    /// "Protocol library not found" when no plug-in has the Uuid that the protocol gives.
    bool enumerate();

    /// Lets the device go. Required: `wrapperFactory` stays until the next `enumerate` replaces it.
    void disconnect();

    /// File of the plug-in that serves the device; empty before the first successful `enumerate`.
    const std::string& pluginFile() const { return plugin; }

private:
    // In this order, whose reverse is that of release: no code may be unloaded while an object of it lives.
    std::list<std::unique_ptr<velk::common::DynamicLibrary>> libraries;
    std::vector<std::shared_ptr<IProtocol>> protocols; ///< one for each library
    std::shared_ptr<IProtocol> protocol;               ///< the one that found the device, or empty
    std::string plugin;

public:
    /// Of the device that the last successful `enumerate` saw; empty before. May keep its protocol alive.
    std::shared_ptr<IWrapperFactory> wrapperFactory;
};

} // namespace velk::powerdistribution::protocols
