#pragma once

#include <cstdint>

namespace tessapi {

/// The sixteen texts that every device of the store has, empty at first. The numbers are contract; those that
/// no program of this system uses have no name.
enum class DeviceAttribute : std::uint32_t {
    productName = 2,
    model = 5,
    friendlyName = 6,
    path = 7, ///< the device's place in the equipment tree, as text
    serialNumber = 9,
    vendor = 10,
    physicalName = 11,
    location = 12,
    hardwareVersion = 14,
    firmwareVersion = 15,
    unused = 16, ///< marks "no attribute"; never sent to the store
};

} // namespace tessapi
