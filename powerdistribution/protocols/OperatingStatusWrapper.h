#pragma once

#include "powerdistribution/protocols/ROValueWrapper.h"

namespace velk::powerdistribution::protocols {

/// The operating status of a node that is either in service or not. Any of its wrappers may be null.
class OperatingStatusWrapper : public ROValueWrapper {
public:
    OperatingStatusWrapper(ValueWrapperPtr statusWrapper, ValueWrapperPtr comWrapper);
    ~OperatingStatusWrapper() override;

    /// A uint32: 0 without good communication, otherwise 16 when the status is true and 5 when it is not.
    /// Without good communication the status is not asked.
    Value read() const override;

private:
    ValueWrapperPtr status;
    ValueWrapperPtr com;
};

} // namespace velk::powerdistribution::protocols
