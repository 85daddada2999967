#pragma once

#include "platform/common/UnixTime.h"

#include <cstdint>

namespace velk::powerdistribution::protocols {

/// The present state of the link to the device.
struct CommunicationStatus {
    std::uint8_t state{0}; ///< 2 good, 3 lost, 4 unknown; others are the plug-in's affair
    conv::UnixTime since;  ///< when the link came into this state
};

} // namespace velk::powerdistribution::protocols
