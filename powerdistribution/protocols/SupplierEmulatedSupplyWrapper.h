#pragma once

#include "powerdistribution/protocols/ROValueWrapper.h"

namespace velk::powerdistribution::protocols {

/// Whether a supplier supplies, by the quality of its power. Its wrapper may be null.
class VELK_EXPORT SupplierEmulatedSupplyWrapper : public ROValueWrapper {
public:
    explicit SupplierEmulatedSupplyWrapper(ValueWrapperPtr qualityWrapper);
    ~SupplierEmulatedSupplyWrapper() override;

    /// False for quality 2, true for 3, 4 and 5; empty for any other number and for what is not a uint32.
    Value read() const override;

private:
    ValueWrapperPtr quality;
};

} // namespace velk::powerdistribution::protocols
