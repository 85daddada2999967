#pragma once

#include "powerdistribution/protocols/IValueWrapper.h"

namespace velk::powerdistribution::protocols {

/// Base of wrappers that can be read and written; carries no configuration.
class VELK_EXPORT RWValueWrapper : public IValueWrapper {
public:
    ~RWValueWrapper() override;
    bool isReadable() const override;
    bool isWritable() const override;
    DataConfig dataConfig() const override;
};

} // namespace velk::powerdistribution::protocols
