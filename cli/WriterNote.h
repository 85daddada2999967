#pragma once

#include "cli/Point.h"
#include "platform/qz/CValue.h"
#include "platform/tessapi/ITessAccessor.h"

#include <cstdint>
#include <string>

namespace velk::cli {

/// What this program calls itself as a writer.
inline constexpr const char* WRITER_PROGRAM = "tess";

/// The name of the user who runs this program; "user 1000" for one without a name.
std::string ownUser();

/// Tells the daemon who is about to write `value` into the channel of `point`, so that its note of the write
/// to the device can name them. Does nothing in a store without a daemon that wants to know.
void announceWriter(tessapi::ITessAccessor& store, const Point& point, const qz::CValue& value,
                    std::int64_t nowMs);

} // namespace velk::cli
