#pragma once

#include <cstdint>

namespace velk::scenarios {

/// What the sanitizers keep for themselves would drown it.
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
inline constexpr bool MEMORY_IS_MEASURED = false;
#else
inline constexpr bool MEMORY_IS_MEASURED = true;
#endif

/// The memory of this process that is resident, in KiB. Free memory that the allocator still holds is given
/// back first, so that only what is in use counts.
std::uint64_t residentKiB();

} // namespace velk::scenarios
