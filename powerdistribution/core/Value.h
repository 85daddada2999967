#pragma once

#include "platform/common/Export.h"
#include "platform/common/UnixTime.h"
#include "platform/common/Uuid.h"
#include "powerdistribution/core/EPath.h"
#include "powerdistribution/core/InternalLogChunk.h"
#include "powerdistribution/core/TValue.h"

#include <cstdint>
#include <ostream>
#include <string>

namespace velk::powerdistribution {

using velk::common::BinaryBlock;

/// One datum of the device. Empty means that there is no value now, which is no failure.
using Value = velk::common::TValue<bool, std::int32_t, std::uint32_t, float, conv::UnixTime, std::string,
                                   EPath, velk::common::Uuid, BinaryBlock, InternalLogChunk>;

/// What messages call the alternative that `value` holds: "bool", "int32_t", "uint32_t", "float", "UnixTime",
/// "std::string", "EPath", "Uuid", "BinaryBlock", "InternalLogChunk"; "empty" for an empty value.
VELK_EXPORT std::string typeName(const Value& value);

/// The same by the number of the alternative; "unknown" beyond the table.
VELK_EXPORT std::string typeName(std::size_t alternative);

} // namespace velk::powerdistribution

namespace velk::common {

/// Prints "empty" or the content: booleans as 1 and 0, numbers as the stream does, a text without quotes, a
/// path as "path=" and its text, a binary block as the Uuid made of its bytes.
VELK_EXPORT std::ostream& operator<<(std::ostream& stream, const velk::powerdistribution::Value& value);

} // namespace velk::common
