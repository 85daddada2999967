#pragma once

#include "platform/common/Export.h"
#include "platform/common/Uuid.h"
#include "powerdistribution/protocols/CommunicationStatus.h"

namespace velk::powerdistribution::protocols {

/// One protocol implementation; a plug-in makes one. The order of the operations is contract.
///
/// Threads: all but `communicationStatus` come from the thread of the state machine; `stop`, and a
/// `disconnect` right before it, from the thread that destroys the manager. `communicationStatus` comes from
/// any thread, also after `disconnect`.
class VELK_EXPORT IProtocol {
public:
    virtual ~IProtocol();

    /// Called once, before any `discover`.
    virtual void start() = 0;

    /// Called once, after the last `disconnect`.
    virtual void stop() = 0;

    /// Equals the Uuid that the protocol's library gives.
    virtual const velk::common::Uuid& protocolUuid() const = 0;

    /// Reserved: never called by this library. Keeps its slot.
    virtual void reserved5();

    virtual CommunicationStatus communicationStatus() const = 0;

    /// Looks for the device; true when it is found and connected.
    virtual bool discover() = 0;

    /// Reserved: never called by this library. Keeps its slot.
    virtual void reserved8();

    /// Lets the device go.
    virtual void disconnect() = 0;
};

} // namespace velk::powerdistribution::protocols
