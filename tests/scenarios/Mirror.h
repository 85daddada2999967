#pragma once

#include "tests/scenarios/StoreEye.h"

#include <map>
#include <string>
#include <vector>

namespace velk::scenarios {

/// A data point as the simulated device itself has it.
struct DevicePoint {
    std::string type; ///< "bool", "int32", "uint32", "float", "string", …
    std::string json; ///< its value; "null" for none
    bool writable{false};
};
using DevicePoints = std::map<std::string, DevicePoint>;

/// The points out of the answer to {"do":"points"}. Throws JsonError for what is none.
DevicePoints readPoints(const std::string& answer);

/// Whether the store's value is that of the point, in type and value; single precision for numbers.
bool isSame(const DevicePoint& point, const qz::CValue& value);

/// What the store should show of the device and does not, one line each; empty when it equals the device.
/// `compared` is the number of data points that were compared.
std::vector<std::string> differences(const DevicePoints& device, const StorePicture& store,
                                     std::size_t& compared);

} // namespace velk::scenarios
