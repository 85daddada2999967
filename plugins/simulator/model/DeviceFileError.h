#pragma once

#include "platform/common/lwjson/Deserializer.h"

#include <stdexcept>
#include <string>

namespace velk::simulator {

/// A device file that describes no device. `what()` is "FILE:LINE:COLUMN: " and what was expected.
class DeviceFileError : public std::runtime_error {
public:
    DeviceFileError(const std::string& file, const common::lwjson::Position& position,
                    const std::string& reason) :
        std::runtime_error{file + ":" + std::to_string(position.line) + ":" +
                           std::to_string(position.column) + ": " + reason} {}
};

} // namespace velk::simulator
