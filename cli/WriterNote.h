#pragma once

#include "cli/Point.h"
#include "platform/qz/CValue.h"
#include "platform/tessapi/ITessAccessor.h"

namespace velk::cli {

/// Tells the daemon who is about to write `value` into the channel of `point`, so that its note of the write
/// to the device can name them. Does nothing in a store without a daemon that wants to know.
void announceWriter(tessapi::ITessAccessor& store, const Point& point, const qz::CValue& value,
                    std::int64_t nowMs);

} // namespace velk::cli
