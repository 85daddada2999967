#pragma once

#include "platform/qz/CValue.h"
#include "platform/qz/datatype.h"

namespace tessapi {

/// The type of a channel with its value. A plain value.
struct TypedValue {
    qz::datatype type{qz::datatype::unknown}; ///< `unknown` for a channel that there is not
    qz::CValue value;                         ///< invalid when the channel has none
};

} // namespace tessapi
