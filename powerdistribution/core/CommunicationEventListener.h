#pragma once

#include "platform/common/Export.h"

namespace velk::powerdistribution {

/// Hears that the link to the device was lost or is back. Threads: calls come from scheduler workers and from
/// the thread of the state machine.
class VELK_EXPORT CommunicationEventListener {
public:
    virtual ~CommunicationEventListener();
    virtual void onCommunicationLost() = 0;
    virtual void onCommunicationRecovered() = 0;
};

} // namespace velk::powerdistribution
