#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "platform/common/Uuid.h"
#include "platform/tessapi/ITessAccessor.h"

#include <cstdint>

namespace velk::powerdistribution::connectors {

/// The identifier of a device, which the store is asked for once when several connectors for the device are
/// made one after the other. Threads: any.
class DeviceLookup {
public:
    static constexpr std::uint64_t NONE = tessapi::ITessAccessor::UNKNOWN_ID;

    /// All ones when the store has no such device now.
    std::uint64_t idOf(tessapi::ITessAccessor& store, const velk::common::Uuid& uuid) VELK_EXCLUDES(lock) {
        velk::common::MutexLock held{lock};
        if (id == NONE || uuid != device) {
            device = uuid;
            id = store.deviceIdOf(uuid);
        }
        return id;
    }

    /// The devices of the store change.
    void forget() VELK_EXCLUDES(lock) {
        velk::common::MutexLock held{lock};
        id = NONE;
    }

private:
    velk::common::Mutex lock;
    velk::common::Uuid device VELK_GUARDED_BY(lock);
    std::uint64_t id VELK_GUARDED_BY(lock){NONE};
};

} // namespace velk::powerdistribution::connectors
