#pragma once

#include "powerdistribution/core/DeviceLog.h"
#include "powerdistribution/protocols/IValueWrapper.h"

#include <atomic>
#include <cstdint>
#include <memory>

namespace velk::powerdistribution::protocols {

/// Behaves like the wrapper inside, which gives the pieces of the device's event log, and reports each piece
/// and each failure to get one; first of all a piece without entries, which tells that the device has a log.
/// It falls silent when another one is made with the same count: handlers of a former data model go on
/// reading, and what they meet is not how the present log is.
class LogReportWrapper : public IValueWrapper {
public:
    /// How many there have been.
    using Count = std::shared_ptr<std::atomic<std::uint64_t>>;

    LogReportWrapper(ValueWrapperPtr deviceWrapper, DeviceLogListener logListener, Count madeBefore);
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
    Count made;
    std::uint64_t number;
};

} // namespace velk::powerdistribution::protocols
