#pragma once

#include <cstddef>

namespace velk::kit {

/// How many threads this process has.
std::size_t threadsOfThisProcess();

} // namespace velk::kit
