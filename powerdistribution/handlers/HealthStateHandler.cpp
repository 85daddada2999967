#include "powerdistribution/handlers/HealthStateHandler.h"

#include "powerdistribution/alarms/Trigger.h"
#include "powerdistribution/core/PowerDistributionError.h"
#include "powerdistribution/handlers/Rollback.h"
#include "powerdistribution/handlers/expectPoint.h"
#include "powerdistribution/handlers/subscribeOrLeave.h"

#include <cstdint>
#include <map>

namespace velk::powerdistribution::handlers {

using velk::common::MutexLock;

namespace {

constexpr std::uint32_t GOOD = 5;

std::uint32_t healthOf(const Value& alarmLevel) {
    // Required: `none` has no health; a store that reports it gets the error.
    // clang-format off
    static const std::map<Trigger::Level, std::uint32_t> healths{
        {Trigger::Level::good,      5},
        {Trigger::Level::info,      5},
        {Trigger::Level::warning,  10},
        {Trigger::Level::critical, 25},
    };
    // clang-format on
    if (!alarmLevel.hasValue()) {
        return GOOD;
    }
    const auto health = healths.find(static_cast<Trigger::Level>(alarmLevel.get<std::uint32_t>()));
    if (health == healths.end()) {
        throw PowerDistributionError{"Unsupported alarm level to health state conversion"};
    }
    return health->second;
}

} // namespace

HealthStateHandler::HealthStateHandler(const EPath& path, const velk::common::Uuid& uuid,
                                       const Factories& factories) :
    BaseHandler{path},
    statusConnector{factories.connectorFactory.buildStatusConnector(uuid)},
    alarmConnector{factories.connectorFactory.buildAlarmConnector(uuid)},
    healthData{path + EStatus::HealthState, Value{GOOD}, {}}, //
    alarmData{path + EStatus::HealthState, Value{}, {}} {
    expectPoint(*statusConnector, healthData.path);
    // Last, because callbacks may come from here on.
    subscribeOrLeave(*alarmConnector, alarmData, this, {false, false});
}

HealthStateHandler::~HealthStateHandler() {
    // First: a dying connector waits for a callback that is running here, and that one needs all the rest.
    alarmConnector.reset();
}

void HealthStateHandler::initialize() {
    MutexLock held{lock};
    statusConnector->store(healthData);
    alarmConnector->init();
}

void HealthStateHandler::refresh() {
    MutexLock held{lock};
    alarmData.value.reset();
    alarmConnector->load(alarmData);
    update();
}

void HealthStateHandler::onConnectorValueChange(const HandlerData& incoming) {
    MutexLock held{lock};
    if (&incoming != &alarmData) {
        alarmData.value = incoming.value;
    }
    update();
}

void HealthStateHandler::update() {
    const Value health{healthOf(alarmData.value)};
    if (healthData.value == health) {
        return;
    }
    Rollback published{healthData.value};
    healthData.value = health;
    statusConnector->store(healthData);
    published.keep();
}

} // namespace velk::powerdistribution::handlers
