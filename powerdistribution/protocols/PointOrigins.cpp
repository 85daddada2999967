#include "powerdistribution/protocols/PointOrigins.h"

#include <utility>

namespace velk::powerdistribution::protocols {

void PointOrigins::set(std::shared_ptr<const ProxyWrapperFactory> present, const std::string& pluginFile) {
    std::shared_ptr<const ProxyWrapperFactory> former; // goes when the lock has been released
    const velk::common::MutexLock lock{mutex};
    former = std::exchange(factory, std::move(present));
    plugin = pluginFile;
}

PointOrigins::Origin PointOrigins::of(const EPath& path) const {
    std::shared_ptr<const ProxyWrapperFactory> asked;
    std::string file;
    {
        const velk::common::MutexLock lock{mutex};
        asked = factory;
        file = plugin;
    }
    if (!asked) {
        return {};
    }
    try {
        const ProxyWrapperFactory::Origin origin = asked->originOf(path);
        return {origin.byProtocol ? file : std::string{}, origin.rule};
    } catch (...) { // NOLINT(bugprone-empty-catch)
        return {};  // of a plug-in that cannot say whether it serves the path
    }
}

} // namespace velk::powerdistribution::protocols
