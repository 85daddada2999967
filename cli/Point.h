#pragma once

#include "platform/tessapi/StoreBrowser.h"

#include <cstdint>
#include <string>

namespace velk::cli {

/// One value of the store under the path that people know. A plain value that refers to its `StoreView`.
struct Point {
    std::string path;       ///< "Inputs.1.Measure.Voltage"
    std::string devicePath; ///< "Inputs.1"; empty for the device itself and for the root of the store
    std::string name;       ///< "Measure.Voltage"
    std::uint64_t deviceId{~std::uint64_t{0}};
    const tessapi::ChannelRecord* channel{nullptr}; ///< null for a text of the device, such as its model
    std::string text;                               ///< that text; empty when there is a channel

    bool isSetting() const { return name.starts_with("Setting."); }
    bool isAction() const { return name.starts_with("Action."); }
};

} // namespace velk::cli
