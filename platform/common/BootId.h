#pragma once

#include "platform/common/Export.h"

#include <string>

namespace velk::common {

/// What the kernel calls the time since this machine was started, a Uuid as text; empty where it does not
/// tell. Containers of one machine have the same. Threads: any.
VELK_EXPORT std::string presentBoot();

} // namespace velk::common
