#pragma once

#include "platform/common/Uuid.h"

namespace tessapi {

/// Device 1 of every store. It must not change: other programs know the root by it.
inline constexpr velk::common::Uuid ROOT_UUID{
    velk::common::Uuid::Bytes{0x0d, 0x5b, 0x1b, 0x1e, 0x7a, 0x52, 0x4a, 0x2f, //
                              0x9a, 0x55, 0x7f, 0x6f, 0x1c, 0x1e, 0x00, 0x01}};

} // namespace tessapi
