#pragma once

#include "powerdistribution/protocols/ROValueWrapper.h"

namespace velk::powerdistribution::protocols {

/// Whether a storage module serves. Any of its wrappers may be null.
class StorageModuleInServiceWrapper : public ROValueWrapper {
public:
    StorageModuleInServiceWrapper(ValueWrapperPtr supplyWrapper, ValueWrapperPtr modeWrapper);
    ~StorageModuleInServiceWrapper() override;

    /// A bool: the module supplies, or, asked only if it does not, the mode is a bool that is true.
    /// Required: a mode that is a number, as devices give it, counts as false and is told on the standard
    /// error.
    Value read() const override;

private:
    ValueWrapperPtr supply;
    ValueWrapperPtr mode;
};

} // namespace velk::powerdistribution::protocols
