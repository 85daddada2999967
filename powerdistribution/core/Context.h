#pragma once

#include "powerdistribution/connectors/IDatabaseManager.h"
#include "powerdistribution/core/CommunicationEventListener.h"
#include "powerdistribution/core/Configuration.h"
#include "powerdistribution/core/DeviceIdentifier.h"
#include "powerdistribution/core/DeviceLog.h"
#include "powerdistribution/core/DeviceWrite.h"
#include "powerdistribution/datamodel/DataModelManager.h"
#include "powerdistribution/protocols/IValueWrapper.h"
#include "powerdistribution/protocols/IWrapperFactory.h"
#include "powerdistribution/protocols/LogReportWrapper.h"
#include "powerdistribution/protocols/PointOrigins.h"
#include "powerdistribution/protocols/ProtocolsManager.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace velk::powerdistribution {

/// What the states of the lifecycle work with. Owns the store, the plug-ins and the data model; the order of
/// the fields is the order in which they are made, and its reverse lets them go.
///
/// Threads: the state machine's thread; the two flags and the listener's operations also from any other, and
/// `serviceStateWrapper` is read from any.
class Context : public CommunicationEventListener {
public:
    Context();
    ~Context() override;

    void onCommunicationLost() override;
    void onCommunicationRecovered() override;

    std::atomic<bool> exitRequested{false};     ///< set by `exit`, consumed by the loop
    std::atomic<bool> communicationLost{false}; ///< set and cleared by the two operations above alone
    std::unique_ptr<connectors::IDatabaseManager> databaseManager;
    std::unique_ptr<protocols::ProtocolsManager> protocolsManager;
    /// The factory of the present device behind the library's own; made anew by every pass through ENUMERATE.
    std::shared_ptr<protocols::IWrapperFactory> wrapperFactory;
    /// Every factory that a data model was built with. Handlers of earlier models live as long as the manager
    /// of the model does, and their wrappers may refer to their factory. Grows by one with each BUILD.
    std::vector<std::shared_ptr<protocols::IWrapperFactory>> builtFactories;
    protocols::PointOrigins origins; ///< of the present device's data points
    std::unique_ptr<datamodel::DataModelManager> dataModelManager;
    DeviceIdentifier deviceIdentifier; ///< the device that was identified last
    bool modelIsCurrent{false};        ///< true when the data model was built for that device, and whole
    std::unique_ptr<protocols::IValueWrapper> serviceStateWrapper;
    DeviceWriteListener onDeviceWrite;                 ///< told of each write to the device; empty for nobody
    std::function<void(std::uint32_t)> onServiceState; ///< told of each service state; empty for nobody
    DeviceLogListener onDeviceLog; ///< told of each look at the device's event log; empty for nobody
    /// Of the wrappers that tell it: those of former models are to be silent.
    const protocols::LogReportWrapper::Count logReports{std::make_shared<std::atomic<std::uint64_t>>(0)};
};

} // namespace velk::powerdistribution
