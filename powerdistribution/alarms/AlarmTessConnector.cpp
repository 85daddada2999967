#include "powerdistribution/alarms/AlarmTessConnector.h"

#include "platform/tessapi/DataAlarms.h"
#include "platform/tessapi/InBandAccessor.h"
#include "powerdistribution/alarms/AlarmConversions.h"
#include "powerdistribution/core/PowerDistributionError.h"

#include <exception>

namespace velk::powerdistribution::connectors {

using handlers::HandlerData;
using velk::common::MutexLock;

namespace {

Value valueOf(tessapi::LevelAlarm level) {
    return static_cast<std::uint32_t>(fromQz(level));
}

} // namespace

AlarmTessConnector::AlarmTessConnector(tessapi::ITessAccessor& storeAccessor,
                                       const velk::common::Uuid& uuid) :
    accessor{storeAccessor}, deviceUuid{uuid} {}

AlarmTessConnector::~AlarmTessConnector() {
    guard.close();
    try {
        MutexLock held{lock};
        if (subscriptionId != 0) {
            accessor.inbandAccessor().unsubscribe(subscriptionId);
        }
    } catch (const std::exception&) {
        // A subscription that the store could not end calls a closed guard from now on, which is harmless.
    }
}

void AlarmTessConnector::init() {
    const std::uint64_t device = accessor.deviceIdOf(deviceUuid);
    deviceId = device;
    MutexLock held{lock};
    if (subscriptionId != 0 && subscribedDevice == device) {
        return;
    }
    tessapi::InBandAccessor& inBand = accessor.inbandAccessor();
    if (subscriptionId != 0) {
        // The Uuid has got another seat in the store, so the old subscription will never fire again.
        inBand.unsubscribe(subscriptionId);
        subscriptionId = 0;
    }
    inBand.subscribeDeviceAlarms(device,
                                 guard.guarded<const qz::CAlarmUpdate&>(
                                     [this](const qz::CAlarmUpdate& update) { onAlarmUpdate(update); }),
                                 &subscriptionId);
    subscribedDevice = device;
}

void AlarmTessConnector::terminate() {}

void AlarmTessConnector::subscribe(const HandlerData&, IConnectorListener* listener,
                                   const SubscriptionOptions&) {
    MutexLock held{lock};
    listeners.insert(listener);
}

void AlarmTessConnector::unsubscribe(const HandlerData&, IConnectorListener* listener) {
    {
        MutexLock held{lock};
        listeners.erase(listener);
    }
    guard.waitFor(listener);
}

void AlarmTessConnector::load(HandlerData& data) const {
    const auto alarm = accessor.alarmsAccessor().getMostCritical(deviceId);
    if (alarm != nullptr && alarm->present) {
        data.value = valueOf(alarm->level);
    }
}

void AlarmTessConnector::store(const HandlerData&) {
    throw PowerDistributionError{"Unsupported operation"};
}

TessResources AlarmTessConnector::getResourcesInUse() const {
    return {};
}

void AlarmTessConnector::onAlarmUpdate(const qz::CAlarmUpdate& update) {
    if (!update.present) {
        return;
    }
    MutexLock held{lock};
    // A listener may leave while another one is called.
    const std::set<IConnectorListener*> present = listeners;
    for (IConnectorListener* const listener : present) {
        if (listeners.count(listener) == 0) {
            continue;
        }
        const HandlerData level{{}, valueOf(update.level), {}};
        if (!guard.notify(*listener, level, held)) {
            return;
        }
    }
}

} // namespace velk::powerdistribution::connectors
