#pragma once

#include <cstdint>
#include <string>

namespace velk::cli {

// The names that people know for what the store holds.

/// The path of a device by its place (attribute 7): "" for the root and the device that is watched, "#1005"
/// for one without a place.
std::string devicePathOf(std::uint64_t device, const std::string& place);

/// "Measure.Voltage" of "PowerDistribution.Measure.Voltage".
std::string shortChannelName(const std::string& channelName, const std::string& devicePath);

/// "Inputs.1" and "Measure.Voltage" as "Inputs.1.Measure.Voltage".
std::string joinPath(const std::string& devicePath, const std::string& name);

} // namespace velk::cli
