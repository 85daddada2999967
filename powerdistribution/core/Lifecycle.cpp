#include "powerdistribution/core/Lifecycle.h"

#include "powerdistribution/alarms/AlarmProxyWrapperFactory.h"
#include "powerdistribution/datamodel/powerEquipmentBuilder.h"
#include "powerdistribution/protocols/LogReportWrapperFactory.h"
#include "powerdistribution/protocols/ProxyWrapperFactory.h"
#include "powerdistribution/protocols/WriteReportWrapperFactory.h"

#include <cstdint>

namespace velk::powerdistribution::lifecycle {

namespace {

// The service state as others read it.
constexpr std::int32_t STARTING = 3;
constexpr std::int32_t STOPPING = 4;
constexpr std::int32_t STOPPED = 5;
constexpr std::int32_t IN_SERVICE = 16;

constexpr std::uint32_t LINK_LOST = 3;

void publishServiceState(Context& context, std::int32_t state) {
    context.serviceStateWrapper->write(Value{state});
    context.dataModelManager->updateServiceState();
    if (!context.onServiceState) {
        return;
    }
    try {
        context.onServiceState(static_cast<std::uint32_t>(state));
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // A host that cannot keep its books must not end the run, least of all while it stops.
    }
}

std::shared_ptr<protocols::ProxyWrapperFactory> decorate(const Context& context) {
    std::shared_ptr<protocols::IWrapperFactory> device = context.protocolsManager->wrapperFactory;
    if (context.onDeviceWrite) {
        device = std::make_shared<protocols::WriteReportWrapperFactory>(device, context.onDeviceWrite);
    }
    if (context.onDeviceLog) {
        device = std::make_shared<protocols::LogReportWrapperFactory>(device, context.onDeviceLog,
                                                                      context.logReports);
    }
    return std::make_shared<protocols::ProxyWrapperFactory>(buildAlarmProxyWrapperFactory(device));
}

/// Notes which device this is; true when the data model was built for another one. A device without Uuid is
/// always another one.
bool identify(Context& context) {
    DeviceIdentifier& known = context.deviceIdentifier;
    const velk::common::Uuid candidate = handlers::getDeviceUuid(*context.wrapperFactory);
    bool changed = candidate.isNil() || candidate != known.uuid;
    known.uuid = candidate;
    const std::string firmware = handlers::getFirmwareVersion(*context.wrapperFactory);
    changed = changed || firmware != known.firmwareVersion;
    known.firmwareVersion = firmware;
    // A build that a loss has kept from running, or that has failed, is still due.
    context.modelIsCurrent = context.modelIsCurrent && !changed;
    return !context.modelIsCurrent;
}

/// False when the device says that its link is lost: what it could not tell then is missing in a model that
/// was built. A device that cannot say so is taken at its best.
bool linkHolds(const Context& context) {
    try {
        const auto wrapper = context.wrapperFactory->buildWrapper({ECommunicationStatus::State});
        const Value state = wrapper == nullptr ? Value{} : wrapper->read();
        return !(state == Value{LINK_LOST});
    } catch (...) {
        return true; // whoever needs the state of the link meets the same failure, and tells of it
    }
}

const LifecycleState& begin(Context& context) {
    publishServiceState(context, STARTING);
    return DISCOVER;
}

const LifecycleState& discover(Context& context) {
    return context.protocolsManager->discover() ? ENUMERATE : DISCOVER;
}

const LifecycleState& enumerate(Context& context) {
    if (!context.protocolsManager->enumerate()) {
        return ENUMERATE;
    }
    const auto factory = decorate(context);
    context.origins.set(factory, context.protocolsManager->pluginFile());
    context.wrapperFactory = factory;
    return identify(context) ? BUILD : INITIALIZE;
}

const LifecycleState& build(Context& context) {
    context.modelIsCurrent = false;
    context.dataModelManager->clear();
    if (context.builtFactories.empty() || context.builtFactories.back() != context.wrapperFactory) {
        context.builtFactories.push_back(context.wrapperFactory);
    }
    const connectors::IConnectorFactory& connectorFactory = context.databaseManager->connectorFactory();
    const bool built = context.dataModelManager->build(*context.wrapperFactory, connectorFactory,
                                                       datamodel::powerEquipmentBuilder);
    context.modelIsCurrent = built && linkHolds(context);
    return built ? INITIALIZE : BUILD;
}

const LifecycleState& initialize(Context& context) {
    if (!context.dataModelManager->initialize()) {
        return INITIALIZE;
    }
    if (context.modelIsCurrent) {
        context.databaseManager->sanitize();
    }
    return START;
}

const LifecycleState& start(Context& context) {
    context.dataModelManager->start();
    publishServiceState(context, IN_SERVICE);
    return MONITOR;
}

const LifecycleState& monitor(Context&) {
    return MONITOR;
}

const LifecycleState& communicationLost(Context& context) {
    context.dataModelManager->updateCommunicationState();
    return WAIT_COMMUNICATION_RECOVERY;
}

const LifecycleState& waitCommunicationRecovery(Context& context) {
    if (!context.communicationLost) {
        return ENUMERATE;
    }
    context.dataModelManager->updateCommunicationState();
    return WAIT_COMMUNICATION_RECOVERY;
}

const LifecycleState& stop(Context& context) {
    publishServiceState(context, STOPPING);
    context.dataModelManager->stop();
    context.protocolsManager->disconnect();
    context.dataModelManager->updateCommunicationState();
    publishServiceState(context, STOPPED);
    return END;
}

const LifecycleState& end(Context&) {
    return END;
}

} // namespace

// clang-format off
const LifecycleState BEGIN                      {FsmState::BEGIN,                       begin};                     // DISCOVER
const LifecycleState DISCOVER                   {FsmState::DISCOVER,                    discover};                  // found: ENUMERATE; not: stay
const LifecycleState ENUMERATE                  {FsmState::ENUMERATE,                   enumerate};                 // failed: stay; other device: BUILD; same: INITIALIZE
const LifecycleState BUILD                      {FsmState::BUILD,                       build};                     // built: INITIALIZE; failed: stay
const LifecycleState INITIALIZE                 {FsmState::INITIALIZE,                  initialize};                // done: START; failed: stay
const LifecycleState START                      {FsmState::START,                       start};                     // MONITOR
const LifecycleState MONITOR                    {FsmState::MONITOR,                     monitor};                   // stay
const LifecycleState COMMUNICATION_LOST         {FsmState::COMMUNICATION_LOST,          communicationLost};         // WAIT_COMMUNICATION_RECOVERY
const LifecycleState WAIT_COMMUNICATION_RECOVERY{FsmState::WAIT_COMMUNICATION_RECOVERY, waitCommunicationRecovery}; // back: ENUMERATE; not: stay
const LifecycleState STOP                       {FsmState::STOP,                        stop};                      // END
const LifecycleState END                        {FsmState::END,                         end};                       // never run
// clang-format on

} // namespace velk::powerdistribution::lifecycle
