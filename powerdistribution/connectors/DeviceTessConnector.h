#pragma once

#include "platform/common/Uuid.h"
#include "platform/tessapi/ITessAccessor.h"
#include "powerdistribution/connectors/ITessConnector.h"
#include "powerdistribution/connectors/StoreTraffic.h"

#include <atomic>
#include <cstdint>
#include <memory>

namespace velk::powerdistribution::connectors {

/// Sees to it that a node of the equipment tree is a device of the store, and tells which Uuid it has.
///
/// Threads: `load` and `store` on one thread at a time; `getResourcesInUse` on any.
class DeviceTessConnector final : public ITessConnector {
public:
    /// `parentUuid` is that of the device above. `accessor` outlives this object. Without the traffic of a
    /// container the connector gets its own.
    DeviceTessConnector(tessapi::ITessAccessor& accessor, const velk::common::Uuid& parentUuid,
                        StoreTrafficPtr sharedTraffic = std::make_shared<StoreTraffic>());
    ~DeviceTessConnector() override;

    void init() override;
    void terminate() override;
    void subscribe(const handlers::HandlerData& data, IConnectorListener* listener,
                   const SubscriptionOptions& options) override;
    void unsubscribe(const handlers::HandlerData& data, IConnectorListener* listener) override;

    /// Gives the Uuid of the device, nil when there is none.
    void load(handlers::HandlerData& data) const override;

    /// The first call makes the device with the Uuid in `data`, for the life of this object (throws
    /// UnexpectedIndex when `data` holds none); every call writes the path's text to the device.
    void store(const handlers::HandlerData& data) override;

    /// The device alone, once `store` has made it.
    TessResources getResourcesInUse() const override;

    /// The identifier that the store is asked for: 2 for PowerEquipment, 20 for PowerDistribution, 0 (any)
    /// for all others.
    static std::uint64_t getDeviceId(const handlers::HandlerData& data);

private:
    void emplace(const handlers::HandlerData& data);

    tessapi::ITessAccessor& accessor;
    const velk::common::Uuid parentUuid;
    mutable std::atomic<std::uint64_t> deviceId{0};
    std::atomic<bool> initialized{false};
    const StoreTrafficPtr traffic;
};

} // namespace velk::powerdistribution::connectors
