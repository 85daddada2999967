#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "platform/common/Uuid.h"
#include "platform/qz/CAlarmUpdate.h"
#include "platform/tessapi/ITessAccessor.h"
#include "powerdistribution/connectors/CallbackGuard.h"
#include "powerdistribution/connectors/ITessConnector.h"

#include <atomic>
#include <cstdint>
#include <set>

namespace velk::powerdistribution::connectors {

/// Gives the level of the most critical alarm of one device, on request and as the store reports it.
///
/// Threads: any; the lock covers the listeners and the subscription and is released around every listener
/// call.
class AlarmTessConnector final : public ITessConnector {
public:
    /// `accessor` outlives this object.
    AlarmTessConnector(tessapi::ITessAccessor& accessor, const velk::common::Uuid& deviceUuid);
    ~AlarmTessConnector() override;
    AlarmTessConnector(const AlarmTessConnector&) = delete;
    AlarmTessConnector& operator=(const AlarmTessConnector&) = delete;

    /// Looks the device up, each time; subscribes to its alarms once.
    void init() override VELK_EXCLUDES(lock);

    /// Required: does nothing; the alarm subscription lives as long as this object.
    void terminate() override;

    /// Every listener hears of every update; `data` and `options` are not looked at.
    void subscribe(const handlers::HandlerData& data, IConnectorListener* listener,
                   const SubscriptionOptions& options) override VELK_EXCLUDES(lock);
    void unsubscribe(const handlers::HandlerData& data, IConnectorListener* listener) override
        VELK_EXCLUDES(lock);

    /// Gives the number of the `Trigger::Level` as uint32; leaves `data` alone when no alarm is active.
    void load(handlers::HandlerData& data) const override;

    /// Always throws PowerDistributionError "Unsupported operation".
    void store(const handlers::HandlerData& data) override;

    /// Always empty.
    TessResources getResourcesInUse() const override;

private:
    void onAlarmUpdate(const qz::CAlarmUpdate& update) VELK_EXCLUDES(lock);

    tessapi::ITessAccessor& accessor;
    const velk::common::Uuid deviceUuid;
    std::atomic<std::uint64_t> deviceId{tessapi::ITessAccessor::UNKNOWN_ID};
    velk::common::Mutex lock;
    std::set<IConnectorListener*> listeners VELK_GUARDED_BY(lock);
    std::uint64_t subscribedDevice VELK_GUARDED_BY(lock){tessapi::ITessAccessor::UNKNOWN_ID};
    std::uint64_t subscriptionId VELK_GUARDED_BY(lock){0}; ///< 0 for none
    CallbackGuard guard;
};

} // namespace velk::powerdistribution::connectors
