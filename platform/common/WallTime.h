#pragma once

#include "platform/common/Export.h"

#include <cstdint>

namespace velk::common {

/// Milliseconds since 1970-01-01 00:00 UTC by the wall clock of this machine, which may jump: for stamps that
/// people or other machines read, never for waiting. Threads: any.
VELK_EXPORT std::int64_t wallMs();

} // namespace velk::common
