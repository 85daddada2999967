#pragma once

#include "powerdistribution/protocols/IProtocolLibrary.h"

#include <memory>
#include <string>

namespace velk::kit {

/// The plug-in under trial with all that it has made, in the order whose reverse is that of release.
struct Plugin {
    struct Close {
        void operator()(void* handle) const;
    };

    /// Loads the file; throws std::runtime_error with the loader's reason. The entry is not called yet.
    void load(const std::string& file);
    /// The address of a symbol, or null.
    void* symbol(const char* name) const;
    /// Lets go of everything, the code last.
    void release();

    std::unique_ptr<void, Close> handle;
    powerdistribution::protocols::IProtocolLibrary* library{nullptr};
    std::shared_ptr<powerdistribution::protocols::IProtocol> protocol;
    std::shared_ptr<powerdistribution::protocols::IWrapperFactory> factory;
};

} // namespace velk::kit
