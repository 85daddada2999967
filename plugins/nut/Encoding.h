#pragma once

#include "plugins/nut/Codec.h"
#include "plugins/nut/VariableLimits.h"

#include <string>

namespace velk::nut {

/// The text to write for `asked`, such that the device will read as `asked` afterwards. `present` is the text
/// now, whose style of words is kept where there are several.
/// Throws std::runtime_error, for people, for a value of another type than the setting reads as, and for one
/// that is against the limits.
std::string encode(const Codec& codec, const Value& asked, const std::string& present,
                   const VariableLimits& limits);

} // namespace velk::nut
