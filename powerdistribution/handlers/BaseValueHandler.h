#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "powerdistribution/connectors/IConnector.h"
#include "powerdistribution/handlers/BaseHandler.h"
#include "powerdistribution/protocols/IValueWrapper.h"

#include <atomic>

namespace velk::powerdistribution::handlers {

/// One data point of the device, tied to one place in the store. Catches nothing: what the wrapper or the
/// connector throws goes to the caller.
///
/// Threads: any; `lock` serialises all operations, over the read or write of the device too.
class BaseValueHandler : public BaseHandler {
public:
    /// `wrapper` is never null. `connector` is usually shared with all data points of the kind on the device.
    BaseValueHandler(const EPath& path, protocols::ValueWrapperPtr wrapper,
                     connectors::ConnectorPtr connector);
    ~BaseValueHandler() override;

    /// Reads back what the store holds. With the channel option set, that goes to the device at once.
    void initialize() override VELK_EXCLUDES(lock);

    /// Does not unsubscribe; the connector may tell nothing until somebody subscribes anew.
    void terminate() override VELK_EXCLUDES(lock);

    /// True when the device was read and gave no value the last time.
    bool gaveNothing() const { return emptySample.load(std::memory_order_relaxed); }

protected:
    /// Takes over what the store holds, as a part of `initialize`.
    virtual void loadValue() VELK_REQUIRES(lock);

    /// Reads the device and stores the value if it differs from the last one, then the alarm configuration if
    /// that differs. An empty sample is no value: the last one stays. Without any value no alarm
    /// configuration is stored.
    void readAndStore() VELK_REQUIRES(lock);

    /// `incoming` may be `data` itself.
    void takeValue(const HandlerData& incoming) VELK_REQUIRES(lock);

    /// Both hold a value, and it is the same.
    bool holdsValueOf(const HandlerData& incoming) const VELK_REQUIRES(lock);

    const protocols::ValueWrapperPtr wrapper VELK_PT_GUARDED_BY(lock);
    const connectors::ConnectorPtr connector;
    HandlerData data VELK_GUARDED_BY(lock); ///< the path, the last value, the last alarm configuration
    velk::common::Mutex lock;

private:
    std::atomic<bool> emptySample{false};

    void storeValue(const Value& sample) VELK_REQUIRES(lock);
    void storeAlarmConfig(const protocols::DataConfig& config) VELK_REQUIRES(lock);
};

} // namespace velk::powerdistribution::handlers
