#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "powerdistribution/handlers/ComSinceHandler.h"

#include <cstdint>

namespace velk::powerdistribution::handlers {

/// Whether the device can be reached: 2 good, 3 lost, 4 unknown; other numbers are the device's affair. Where
/// the events come from that drive the lifecycle.
///
/// Threads: any; `lock` serialises all operations, over the read of the device and the calls of observers
/// too.
class ComStateHandler final : public BaseHandler {
public:
    ComStateHandler(const EPath& path, const velk::common::Uuid& uuid, const Factories& factories);
    ~ComStateHandler() override;

    /// Publishes 4, unless the store holds that already.
    void initialize() override VELK_EXCLUDES(lock);

    /// Publishes 4. The connectors stay open and are released with the handler.
    void terminate() override VELK_EXCLUDES(lock);

    /// Publishes what the wrapper reads, if it is an unsigned number.
    void refresh() override VELK_EXCLUDES(lock);

private:
    /// On a change: stores the state, stamps it, and tells the observers. The one place where states are
    /// compared.
    void publish(std::uint32_t state) VELK_REQUIRES(lock);

    const connectors::ConnectorPtr connector;
    const protocols::ValueWrapperPtr wrapper VELK_PT_GUARDED_BY(lock); ///< null when the device tells none
    HandlerData data VELK_GUARDED_BY(lock);
    ComSinceHandler since VELK_GUARDED_BY(lock); ///< never in the container: it exists for this handler alone
    velk::common::Mutex lock;
};

} // namespace velk::powerdistribution::handlers
