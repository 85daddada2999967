#pragma once

#include <cstdint>

namespace velk::kit {

/// Bytes that this process has allocated and not given back.
std::int64_t memoryInUse();

} // namespace velk::kit
