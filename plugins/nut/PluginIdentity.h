#pragma once

#include "platform/common/Uuid.h"
#include "plugins/nut/Decoders.h"
#include "plugins/nut/NutConfiguration.h"
#include "plugins/nut/Snapshot.h"

#include <string>
#include <vector>

namespace velk::nut {

/// The Uuid of this protocol. A fixed value: devices without an identity of their own are named by it.
inline constexpr velk::common::Uuid PROTOCOL_UUID{velk::common::Uuid::Bytes{
    0x3b, 0x0e, 0x5a, 0x94, 0x6c, 0x21, 0x4d, 0x7f, 0x9a, 0x48, 0xd2, 0x15, 0x7e, 0xc3, 0x60, 0x8b}};

// Where the parts of an identity stand, best first.
inline const std::vector<std::string> MANUFACTURER_NAMES{"device.mfr", "ups.mfr", "ups.mfg", "ups.vendor"};
inline const std::vector<std::string> MODEL_NAMES{"device.model", "ups.model", "ups.product"};
inline const std::vector<std::string> SERIAL_NAMES{"device.serial", "ups.serial"};

/// Whether the device gives manufacturer, model and a usable serial number.
bool hasOwnIdentity(const Snapshot& snapshot);

/// The identity of whatever is reached under this name at this server.
velk::common::Uuid addressIdentity(const NutConfiguration& configuration);

} // namespace velk::nut
