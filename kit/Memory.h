#pragma once

#include <cstdint>

namespace velk::kit {

/// Bytes that this process has allocated and not given back; where the heap does not tell, those that it has
/// in the machine's memory.
std::int64_t memoryInUse();

} // namespace velk::kit
