#pragma once

#include "platform/common/Mutex.h"
#include "powerdistribution/protocols/ProxyWrapperFactory.h"

#include <memory>
#include <string>

namespace velk::powerdistribution::protocols {

/// Tells where the data points of the present device come from.
/// Threads: any.
class PointOrigins {
public:
    struct Origin {
        std::string plugin; ///< file of the plug-in; empty for this library
        std::string rule;   ///< empty when nobody tells
    };

    /// From now on `factory` stands before the factory of the plug-in that was loaded from `pluginFile`.
    void set(std::shared_ptr<const ProxyWrapperFactory> factory, const std::string& pluginFile)
        VELK_EXCLUDES(mutex);

    /// Asks the plug-in and lets it not go meanwhile. Never throws what a plug-in throws.
    Origin of(const EPath& path) const VELK_EXCLUDES(mutex);

private:
    mutable velk::common::Mutex mutex;
    std::shared_ptr<const ProxyWrapperFactory> factory VELK_GUARDED_BY(mutex);
    std::string plugin VELK_GUARDED_BY(mutex);
};

} // namespace velk::powerdistribution::protocols
