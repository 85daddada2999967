#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "powerdistribution/connectors/IConnector.h"
#include "powerdistribution/connectors/IConnectorListener.h"
#include "powerdistribution/handlers/BaseHandler.h"
#include "powerdistribution/handlers/Factories.h"

namespace velk::powerdistribution::handlers {

/// How well a part of the equipment is: one number made from the highest alarm level that is active on its
/// device in the store. Its own path is the part's; the data point sits below at `Status.HealthState`.
///
/// Threads: any; `lock` serialises all operations. The store's client thread calls `onConnectorValueChange`.
class HealthStateHandler final : public BaseHandler, public connectors::IConnectorListener {
public:
    HealthStateHandler(const EPath& path, const velk::common::Uuid& uuid, const Factories& factories);

    /// Waits for a callback that is running here.
    ~HealthStateHandler() override;

    /// Publishes the present health at once, whatever the store held.
    void initialize() override VELK_EXCLUDES(lock);

    /// Asks for the present alarm level; see `update` for the failures.
    void refresh() override VELK_EXCLUDES(lock);

    /// Takes the alarm level from `incoming`; see `update` for the failures.
    void onConnectorValueChange(const HandlerData& incoming) override VELK_EXCLUDES(lock);

private:
    /// Publishes the health of the present alarm level, if it changed. Throws `UnexpectedIndex` for a level
    /// that is no unsigned number, and `PowerDistributionError` "Unsupported alarm level to health state
    /// conversion" for one without a health; the published health stays.
    void update() VELK_REQUIRES(lock);

    const connectors::ConnectorPtr statusConnector;
    connectors::ConnectorPtr alarmConnector;
    HandlerData healthData VELK_GUARDED_BY(lock); ///< the last published health
    HandlerData alarmData VELK_GUARDED_BY(lock);  ///< the alarm level last reported; empty for no alarm
    velk::common::Mutex lock;
};

} // namespace velk::powerdistribution::handlers
