#pragma once

#include <functional>
#include <map>
#include <string>

namespace velk::nut {

/// What a device says of itself: names such as "battery.charge" with their values as text.
using Variables = std::map<std::string, std::string, std::less<>>;

} // namespace velk::nut
