#pragma once

#include "powerdistribution/protocols/IValueWrapper.h"

namespace velk::powerdistribution::protocols {

/// Serves a path without any value behind it: only its presence counts.
class VELK_EXPORT DummyWrapper : public IValueWrapper {
public:
    ~DummyWrapper() override;
    bool isReadable() const override;
    bool isWritable() const override;
    Value read() const override;
    bool write(const Value& value) override;
    DataConfig dataConfig() const override;
};

} // namespace velk::powerdistribution::protocols
