#pragma once

#include "powerdistribution/core/DeviceLog.h"
#include "powerdistribution/protocols/IValueWrapper.h"

namespace velk::powerdistribution::protocols {

/// Behaves like the wrapper inside, which gives the pieces of the device's event log, and reports each piece
/// and each failure to get one; first of all a piece without entries, which tells that the device has a log.
class LogReportWrapper : public IValueWrapper {
public:
    LogReportWrapper(ValueWrapperPtr deviceWrapper, DeviceLogListener logListener);
    ~LogReportWrapper() override;

    bool isReadable() const override;
    bool isWritable() const override;
    Value read() const override;
    bool write(const Value& value) override;
    DataConfig dataConfig() const override;

private:
    void report(const DeviceLogPiece& piece) const;

    ValueWrapperPtr wrapper;
    DeviceLogListener listener;
};

} // namespace velk::powerdistribution::protocols
