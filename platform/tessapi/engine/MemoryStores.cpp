#include "platform/tessapi/engine/MemoryStores.h"

#include "platform/common/Mutex.h"

#include <map>

namespace tessapi {

namespace {

struct Registry {
    velk::common::Mutex mutex;
    std::map<std::string, std::weak_ptr<Engine>> stores VELK_GUARDED_BY(mutex);
};

Registry& registry() {
    static Registry all;
    return all;
}

} // namespace

std::shared_ptr<Engine> MemoryStores::find(const std::string& name,
                                           const std::function<std::shared_ptr<Engine>()>& make) {
    auto& all = registry();
    velk::common::MutexLock lock{all.mutex};
    std::erase_if(all.stores, [](const auto& entry) { return entry.second.expired(); });
    if (const auto found = all.stores.find(name); found != all.stores.end()) {
        if (auto engine = found->second.lock()) {
            return engine;
        }
    }
    auto made = make();
    all.stores[name] = made;
    return made;
}

} // namespace tessapi
