#pragma once

#include "daemon/history/ByteCoding.h"
#include "platform/qz/CValue.h"
#include "platform/qz/datatype.h"

namespace velk::daemon {

/// A longer text is cut.
constexpr std::size_t LONGEST_HISTORY_TEXT = 200;

/// What the history keeps of a value of a channel of `type`: a long text cut at a whole letter, bytes as
/// their text in hexadecimal; invalid for a value of another type.
qz::CValue kept(qz::datatype type, const qz::CValue& value);

/// `value` is one that `kept` gave and valid.
void putValue(ByteVector& bytes, qz::datatype type, const qz::CValue& value);

qz::CValue takeValue(ByteReader& reader, qz::datatype type);

} // namespace velk::daemon
