#pragma once

#include "platform/common/Export.h"
#include "platform/common/Uuid.h"
#include "powerdistribution/protocols/IValueWrapper.h"

namespace velk::powerdistribution::protocols {

/// From a path to the wrapper of its data point. The order of the operations is contract.
/// Threads: `buildWrapper` may come from any thread.
class VELK_EXPORT IWrapperFactory {
public:
    virtual ~IWrapperFactory();

    /// The Uuid of the protocol behind this factory.
    virtual const velk::common::Uuid& protocolUuid() const = 0;

    /// The wrapper of `path`, or null when the protocol does not serve it. An unknown path is no failure:
    /// further sources are tried on null. `path` may hold indices, ranges and any-index nodes.
    virtual ValueWrapperPtr buildWrapper(const EPath& path) const = 0;
};

} // namespace velk::powerdistribution::protocols
