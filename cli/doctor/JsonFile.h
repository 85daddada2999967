#pragma once

#include "platform/common/lwjson/Deserializer.h"

#include <functional>
#include <string>

namespace velk::cli {

/// Shows `look` what is in a JSON file. It is not called when the file is none: the check of the
/// configuration tells what is wrong with it.
void lookIntoJson(const std::string& path,
                  const std::function<void(const velk::common::lwjson::Node&)>& look);

} // namespace velk::cli
