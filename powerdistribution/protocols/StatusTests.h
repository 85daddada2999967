#pragma once

#include "platform/common/Export.h"
#include "powerdistribution/protocols/IValueWrapper.h"

namespace velk::powerdistribution::handlers {

// Tests on one data point. A null wrapper, a value of another alternative and every standard exception of the
// wrapper count as false and are told on the standard error; an empty value counts as false silently.

/// The link to the device is good: a uint32 of 2. Messages begin with
/// "FATAL ERROR - while accessing the CommunicationState status: exception ".
VELK_EXPORT bool isComOk(const protocols::ValueWrapperPtr& wrapper);

/// A bool that is true. Messages begin with "FATAL ERROR - while accessing one status: exception ".
VELK_EXPORT bool isBoolStatus(const protocols::ValueWrapperPtr& wrapper);

/// The device lives on its storage: a uint32 of 3. Messages begin with
/// "FATAL ERROR - while accessing the onBatteryState status: exception ".
VELK_EXPORT bool isOnBattery(const protocols::ValueWrapperPtr& wrapper);

} // namespace velk::powerdistribution::handlers
