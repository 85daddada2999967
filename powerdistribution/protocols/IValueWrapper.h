#pragma once

#include "platform/common/Export.h"
#include "powerdistribution/core/Value.h"
#include "powerdistribution/protocols/DataConfig.h"

#include <memory>

namespace velk::powerdistribution::protocols {

/// One data point of the device, reached by whatever means the protocol uses. The order of the operations is
/// contract.
///
/// Owned exclusively; a null handle means that the path is not served.
/// Threads: never two calls at once on one wrapper, but calls on different wrappers in parallel and from any
/// thread.
class VELK_EXPORT IValueWrapper {
public:
    virtual ~IValueWrapper();

    /// True when `read` can give a value.
    virtual bool isReadable() const = 0;

    /// True when `write` can take a value.
    virtual bool isWritable() const = 0;

    /// The present value; an empty one means that there is none now, which is no failure.
    virtual Value read() const = 0;

    /// True when the device took the value.
    virtual bool write(const Value& value) = 0;

    /// Configuration that travels with the data point.
    virtual DataConfig dataConfig() const = 0;
};

using ValueWrapperPtr = std::unique_ptr<IValueWrapper>;

} // namespace velk::powerdistribution::protocols
