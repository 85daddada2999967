#pragma once

#include "powerdistribution/protocols/RWValueWrapper.h"

namespace velk::powerdistribution::protocols {

/// Base of wrappers that can only be read: a write is refused and does nothing.
class VELK_EXPORT ROValueWrapper : public RWValueWrapper {
public:
    ~ROValueWrapper() override;
    bool isWritable() const override;
    bool write(const Value& value) override;
    DataConfig dataConfig() const override;
};

} // namespace velk::powerdistribution::protocols
