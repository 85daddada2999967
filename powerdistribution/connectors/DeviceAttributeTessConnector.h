#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "platform/common/Uuid.h"
#include "platform/qz/CDevice.h"
#include "platform/tessapi/DeviceAttribute.h"
#include "platform/tessapi/ITessAccessor.h"
#include "powerdistribution/connectors/CallbackGuard.h"
#include "powerdistribution/connectors/ChannelTessConnector.h"
#include "powerdistribution/connectors/IExpectingConnector.h"
#include "powerdistribution/connectors/ITessConnector.h"
#include "powerdistribution/core/EAttribute.h"

#include <array>
#include <cstdint>
#include <memory>

namespace velk::powerdistribution::connectors {

/// The identification data of a device: some are attributes of the store's device, the rest are channels, and
/// a handler does not know the difference.
///
/// Threads: any. Its own lock covers the attributes, the embedded channel connector has its own two, and no
/// call holds both.
class DeviceAttributeTessConnector final : public ITessConnector, public IExpectingConnector {
public:
    /// `accessor` outlives this object. Without the traffic of a container the connector gets its own.
    DeviceAttributeTessConnector(tessapi::ITessAccessor& accessor, const velk::common::Uuid& deviceUuid,
                                 StoreTrafficPtr sharedTraffic = std::make_shared<StoreTraffic>());
    ~DeviceAttributeTessConnector() override;
    DeviceAttributeTessConnector(const DeviceAttributeTessConnector&) = delete;
    DeviceAttributeTessConnector& operator=(const DeviceAttributeTessConnector&) = delete;

    /// An attribute of the device is there already.
    void expect(const handlers::HandlerData& data) override;
    void init() override;
    void terminate() override VELK_EXCLUDES(lock);
    /// Required: a second subscriber of an attribute replaces the first.
    void subscribe(const handlers::HandlerData& data, IConnectorListener* listener,
                   const SubscriptionOptions& options) override VELK_EXCLUDES(lock);
    void unsubscribe(const handlers::HandlerData& data, IConnectorListener* listener) override
        VELK_EXCLUDES(lock);
    void load(handlers::HandlerData& data) const override VELK_EXCLUDES(lock);
    /// Throws UnexpectedIndex when an attribute is given anything but a string.
    void store(const handlers::HandlerData& data) override VELK_EXCLUDES(lock);
    TessResources getResourcesInUse() const override;

private:
    /// One text of the store's device.
    struct AttributeInfo {
        tessapi::DeviceAttribute attribute{tessapi::DeviceAttribute::unused};
        /// The data point's path and the text last known; null until it is asked for.
        std::unique_ptr<handlers::HandlerData> data;
        IConnectorListener* listener{nullptr};
    };

    AttributeInfo& infoOf(tessapi::DeviceAttribute attribute) const VELK_REQUIRES(lock);
    /// Clears the listener of an attribute and gives the one that was there, or null.
    IConnectorListener* takeListener(tessapi::DeviceAttribute attribute) VELK_EXCLUDES(lock);
    static handlers::HandlerData& dataOf(AttributeInfo& info);
    void refresh(AttributeInfo& info) const VELK_REQUIRES(lock);
    void subscribeToTess(const velk::common::MutexLock& proof) VELK_REQUIRES(lock);
    void unsubscribeToTess(const velk::common::MutexLock& proof) VELK_REQUIRES(lock);
    /// Required: true when at least one entry has NO listener, which is always so.
    bool hasAnyAttributeListener(const velk::common::MutexLock& proof) const VELK_REQUIRES(lock);
    void checkTessUnsubscription(const velk::common::MutexLock& proof) VELK_REQUIRES(lock);
    /// As `CallbackGuard::notify`.
    bool notifyListener(IConnectorListener& listener, const handlers::HandlerData& data,
                        velk::common::MutexLock& held) const VELK_REQUIRES(lock);
    void onDeviceSettingsChange(std::uint64_t id) VELK_EXCLUDES(lock);

    tessapi::ITessAccessor& accessor;
    const StoreTrafficPtr traffic;
    const std::uint64_t deviceId;
    ChannelTessConnector<EAttribute> channels;
    // By the numbers of the store's attributes; refreshed by `load` too.
    mutable std::array<AttributeInfo, qz::CDevice::ATTRIBUTE_COUNT> attributes VELK_GUARDED_BY(lock);
    mutable velk::common::Mutex lock;
    std::uint64_t subscriptionId VELK_GUARDED_BY(lock){0};
    CallbackGuard guard;
};

} // namespace velk::powerdistribution::connectors
