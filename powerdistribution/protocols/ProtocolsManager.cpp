#include "powerdistribution/protocols/ProtocolsManager.h"

#include "powerdistribution/protocols/IProtocolBuilder.h"
#include "powerdistribution/protocols/IProtocolLibrary.h"

#include <algorithm>
#include <exception>
#include <iostream>
#include <list>
#include <stdexcept>
#include <string>
#include <utility>

namespace velk::powerdistribution::protocols {

namespace {

using Libraries = std::list<std::unique_ptr<velk::common::DynamicLibrary>>;

std::shared_ptr<IProtocol> createProtocol(const velk::common::DynamicLibrary& library) {
    const auto builder = library.protocolLibrary().builder();
    return builder ? builder->create() : nullptr;
}

/// Keeps plug-ins loaded until the process ends: an exception that is on its way may be of a class whose code
/// lies in one of them.
void keepForEver(Libraries& libraries) {
    static Libraries kept;
    kept.splice(kept.end(), libraries);
}

constexpr const char* STOP_FAILED = "WARNING - Unable to stop a protocol: exception ";

/// Runs a step of the destructor. The exception is dropped here, before the plug-in that threw it is
/// unloaded.
template <typename Step>
void guarded(const char* warning, const Step& step) noexcept {
    try {
        step();
    } catch (const std::exception& failure) {
        std::cerr << std::string{warning} + failure.what() + "\n" << std::flush;
    } catch (...) {
        std::cerr << std::string{warning} + "unknown\n" << std::flush;
    }
}

} // namespace

ProtocolsManager::ProtocolsManager(const Configuration& configuration) {
    if (configuration.path.empty()) {
        return;
    }
    libraries = velk::common::loadDynamicLibraries(configuration.path);
    std::list<std::shared_ptr<IProtocol>> started;
    try {
        for (const auto& library : libraries) {
            protocols.push_back(createProtocol(*library));
        }
        for (const auto& each : protocols) {
            if (each) {
                each->start();
                started.push_back(each);
            }
        }
    } catch (...) {
        // One that has started may have a thread, which only its stop ends.
        for (const auto& each : started) {
            guarded(STOP_FAILED, [&each] { each->stop(); });
        }
        started.clear();
        protocols.clear();
        keepForEver(libraries);
        throw;
    }
}

ProtocolsManager::~ProtocolsManager() {
    guarded("WARNING - Unable to disconnect a protocol: exception ", [this] { disconnect(); });
    for (const auto& each : protocols) {
        if (each) {
            guarded(STOP_FAILED, [&each] { each->stop(); });
        }
    }
    wrapperFactory.reset();
    protocol.reset();
    protocols.clear();
}

bool ProtocolsManager::discover() {
    disconnect();
    for (const auto& each : protocols) {
        const std::shared_ptr<IProtocol> candidate = each;
        if (candidate && candidate->discover()) {
            protocol = candidate;
            return true;
        }
    }
    return false;
}

bool ProtocolsManager::enumerate() {
    if (!protocol) {
        return false;
    }
    const velk::common::Uuid uuid = protocol->protocolUuid();
    const auto library = std::find_if(libraries.begin(), libraries.end(), [&uuid](const auto& candidate) {
        return candidate->protocolLibrary().uuid() == uuid;
    });
    if (library == libraries.end()) {
        throw std::runtime_error{"Protocol library not found"};
    }
    std::shared_ptr<IWrapperFactory> made = (*library)->protocolLibrary().wrapperFactory(protocol);
    if (!made) {
        throw std::runtime_error{"Protocol library gave no wrapper factory: " + (*library)->path()};
    }
    wrapperFactory = std::move(made);
    plugin = (*library)->path();
    return true;
}

void ProtocolsManager::disconnect() {
    if (!protocol) {
        return;
    }
    protocol->disconnect();
    protocol.reset();
}

} // namespace velk::powerdistribution::protocols
