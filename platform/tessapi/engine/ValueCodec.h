#pragma once

#include "platform/qz/CValue.h"

#include <optional>

namespace tessapi {

/// How a value is kept in the database: one byte for its alternative, then its content, numbers in
/// little-endian order. Exact for every value, also for those that the database's own types would change (not
/// a number, -0.0, single precision).
namespace ValueCodec {

/// No bytes for the invalid value.
qz::CValue::Bytes encode(const qz::CValue& value);

/// Empty for bytes that `encode` does not make.
std::optional<qz::CValue> decode(const qz::CValue::Bytes& bytes);

/// Whether a write of `b` over `a` leaves the value as it was; unlike the comparison of numbers this holds
/// for two values that are not a number.
bool same(const qz::CValue& a, const qz::CValue& b);

} // namespace ValueCodec

} // namespace tessapi
