#pragma once

#include "platform/tessapi/StoreImage.h"

#include <ostream>

namespace velk::cli {

/// What `tess export` writes and `tess import` reads.
///
/// One JSON object with a line for each device, channel, event and record. A value is an object whose one
/// member names its type, `{"float32": 230.1}`, or null. Floating-point numbers stand in the shortest form
/// that reads back the same, those that are none as "nan", "inf", "-inf"; bytes in hexadecimal, as does a
/// text that is no UTF-8: `{"hex": "ff"}`. Times are milliseconds since 1970 UTC.
namespace ImageFormat {
inline constexpr const char* NAME = "velk-store";
inline constexpr int VERSION = 1;
} // namespace ImageFormat

/// Whoever calls looks whether `out` is good.
void writeImage(std::ostream& out, const tessapi::StoreImage& image);

} // namespace velk::cli
