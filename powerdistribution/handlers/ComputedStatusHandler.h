#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "platform/common/Uuid.h"
#include "powerdistribution/connectors/IConnector.h"
#include "powerdistribution/handlers/BaseHandler.h"
#include "powerdistribution/handlers/Factories.h"

#include <cstdint>
#include <optional>

namespace velk::powerdistribution::handlers {

/// An operating status that no device reports: decided from other data points at each refresh, and stored
/// when the decision differs from the last one.
///
/// Threads: any; `lock` is held over the decision and all its reads.
class ComputedStatusHandler : public BaseHandler {
public:
    /// `path` is the part's; the status sits below it at `Status.OperatingStatus`. `uuid` is the part's
    /// device.
    ComputedStatusHandler(const EPath& path, const velk::common::Uuid& uuid, const Factories& factories);
    ~ComputedStatusHandler() override;

    void refresh() override VELK_EXCLUDES(lock);

protected:
    /// The status by the numbers of `Status.OperatingStatus`; nothing when it cannot be decided now.
    virtual std::optional<std::uint32_t> decide() const = 0;

    /// The communication state that counts for a part at `path`: its own, and where the device tells none for
    /// it, that of the whole device. Null when there is neither.
    static protocols::ValueWrapperPtr buildComState(const EPath& path, const Factories& factories);

    /// What `wrapper` reads now; empty without wrapper, without value, and for another alternative.
    template <typename T>
    static std::optional<T> readAs(const protocols::ValueWrapperPtr& wrapper) {
        const Value sample = wrapper == nullptr ? Value{} : wrapper->read();
        const T* value = sample.getIf<T>();
        return value == nullptr ? std::nullopt : std::optional<T>{*value};
    }

private:
    const connectors::ConnectorPtr connector;
    HandlerData data VELK_GUARDED_BY(lock);
    velk::common::Mutex lock;
};

} // namespace velk::powerdistribution::handlers
