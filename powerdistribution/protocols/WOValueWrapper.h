#pragma once

#include "powerdistribution/protocols/RWValueWrapper.h"

namespace velk::powerdistribution::protocols {

/// Base of wrappers that can only be written, such as actions: reads as empty.
class VELK_EXPORT WOValueWrapper : public RWValueWrapper {
public:
    ~WOValueWrapper() override;
    bool isReadable() const override;
    Value read() const override;
    DataConfig dataConfig() const override;
};

} // namespace velk::powerdistribution::protocols
