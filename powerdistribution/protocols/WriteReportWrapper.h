#pragma once

#include "powerdistribution/core/DeviceWrite.h"
#include "powerdistribution/protocols/IValueWrapper.h"

namespace velk::powerdistribution::protocols {

/// Behaves like the wrapper inside and reports each of its writes, refused and failed ones too.
class WriteReportWrapper : public IValueWrapper {
public:
    WriteReportWrapper(const EPath& path, ValueWrapperPtr deviceWrapper, DeviceWriteListener writeListener);
    ~WriteReportWrapper() override;

    bool isReadable() const override;
    bool isWritable() const override;
    Value read() const override;
    bool write(const Value& value) override;
    DataConfig dataConfig() const override;

private:
    void report(const Value& asked, bool accepted, const std::string& error) const;

    std::string device;
    std::string channel;
    ValueWrapperPtr wrapper;
    DeviceWriteListener listener;
};

} // namespace velk::powerdistribution::protocols
