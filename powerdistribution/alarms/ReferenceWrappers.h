#pragma once

#include "powerdistribution/alarms/AlarmConfig.h"
#include "powerdistribution/core/EPath.h"
#include "powerdistribution/protocols/IWrapperFactory.h"

#include <map>
#include <optional>
#include <string>

namespace velk::powerdistribution::protocols {

/// From the one-node path of a setting to the wrapper that reads it; null when the protocol does not serve
/// it.
using ReferenceWrappers = std::map<EPath, ValueWrapperPtr>;

/// The settings that the triggers of the data point at `path` refer to: they lie beside it, under the same
/// parent. Empty for a path of one node. A reference that is no setting is left out.
ReferenceWrappers buildRefWrapperMap(const EPath& path, const std::optional<AlarmConfig>& config,
                                     const IWrapperFactory& factory);

/// The one-node path of the member of `E` with exactly this text, or `EPath::Null`. Exists for ESetting.
template <typename E>
EPath findByString(const std::string& text);

extern template EPath findByString<ESetting>(const std::string& text);

} // namespace velk::powerdistribution::protocols
