#pragma once

#include "platform/common/Export.h"
#include "powerdistribution/core/EPath.h"
#include "powerdistribution/core/Value.h"
#include "powerdistribution/protocols/DataConfig.h"

#include <ostream>

namespace velk::powerdistribution::handlers {

/// What passes between a handler and its connector: where, what, and the configuration that goes with it.
/// A plain value.
struct VELK_EXPORT HandlerData {
    HandlerData();
    HandlerData(EPath dataPath, Value dataValue, protocols::DataConfig config);

    EPath path;
    Value value; ///< empty for none
    protocols::DataConfig dataConfig;
};

/// Prints "HandlerData(path=…, value=…)".
VELK_EXPORT std::ostream& operator<<(std::ostream& stream, const HandlerData& data);

} // namespace velk::powerdistribution::handlers
