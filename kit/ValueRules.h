#pragma once

#include "powerdistribution/core/EPath.h"
#include "powerdistribution/core/Value.h"

#include <optional>
#include <string>

namespace velk::kit {

/// What was expected of a value, and what came. A plain value.
struct Mismatch {
    std::string expected;
    std::string came;
};

/// The alternative that the data point must have by the catalogue, as `typeName` calls it: "float"; empty for
/// a path that the catalogue does not know.
std::string typeOf(const powerdistribution::EPath& path);

/// Holds a value against the catalogue: its type, its named states, what its unit can mean, and for texts
/// that they are texts. Nothing when it fits. An empty value always fits.
std::optional<Mismatch> mismatchOf(const powerdistribution::EPath& path,
                                   const powerdistribution::Value& value);

} // namespace velk::kit
