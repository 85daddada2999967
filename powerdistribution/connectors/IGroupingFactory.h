#pragma once

#include "platform/common/Export.h"

#include <functional>

namespace velk::powerdistribution::connectors {

/// What a factory of connectors may offer beside its contract: many values that are stored one after the
/// other go to the store in groups.
class VELK_EXPORT IGroupingFactory {
public:
    virtual ~IGroupingFactory();

    /// Runs `work` on this thread. What it stores through connectors of this factory may reach the store a
    /// little later than the call that stores it, for each channel in the same order, and is there when this
    /// returns.
    /// Throws what `work` throws, else the first failure of the store.
    virtual void inGroups(const std::function<void()>& work) const = 0;
};

} // namespace velk::powerdistribution::connectors
