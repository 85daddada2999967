#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "platform/qz/CValue.h"
#include "platform/tessapi/DeviceAttribute.h"
#include "platform/tessapi/ITessAccessor.h"
#include "powerdistribution/connectors/CallbackGuard.h"
#include "powerdistribution/connectors/ITessConnector.h"
#include "powerdistribution/core/EPrivateAction.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace velk::powerdistribution::connectors {

/// Shows facts of the host, which the store keeps under its root device, as data points of the private
/// actions. Only reads.
///
/// Threads: any; one lock, released around every listener call.
class SystemTessConnector final : public ITessConnector {
public:
    /// `accessor` outlives this object.
    explicit SystemTessConnector(tessapi::ITessAccessor& accessor);
    ~SystemTessConnector() override;
    SystemTessConnector(const SystemTessConnector&) = delete;
    SystemTessConnector& operator=(const SystemTessConnector&) = delete;

    void init() override;
    /// Ends the store subscriptions; entries and listeners stay.
    void terminate() override VELK_EXCLUDES(lock);
    /// Required: a second subscriber replaces the first.
    void subscribe(const handlers::HandlerData& data, IConnectorListener* listener,
                   const SubscriptionOptions& options) override VELK_EXCLUDES(lock);
    void unsubscribe(const handlers::HandlerData& data, IConnectorListener* listener) override
        VELK_EXCLUDES(lock);
    /// Leaves `data` alone when the store has no such fact.
    void load(handlers::HandlerData& data) const override VELK_EXCLUDES(lock);
    void store(const handlers::HandlerData& data) override VELK_EXCLUDES(lock);
    /// Always empty: the root device is not this library's to protect or to clean.
    TessResources getResourcesInUse() const override;

private:
    using Source = std::variant<std::uint64_t, tessapi::DeviceAttribute>; ///< channel or attribute

    struct Entry {
        std::optional<Source> source;
        IConnectorListener* listener{nullptr};
    };

    /// The entry of the table, or null; asks the store nothing.
    Entry* knownEntry(EPrivateAction action, const velk::common::MutexLock& proof) const VELK_REQUIRES(lock);
    /// The entry, made if the store has its source by now; else null.
    Entry* getEntry(EPrivateAction action, const velk::common::MutexLock& proof) const VELK_REQUIRES(lock);
    /// Likewise; null for another family. Throws std::out_of_range for an empty path.
    Entry* getEntry(const handlers::HandlerData& data, const velk::common::MutexLock& proof) const
        VELK_REQUIRES(lock);
    std::optional<Source> findSource(EPrivateAction action) const VELK_REQUIRES(lock);
    void load(handlers::HandlerData& data, const velk::common::MutexLock& proof) const VELK_REQUIRES(lock);
    IConnectorListener* takeListener(const handlers::HandlerData& data) VELK_EXCLUDES(lock);
    void subscribeToTess(const velk::common::MutexLock& proof) VELK_REQUIRES(lock);
    void unsubscribeToTess(const velk::common::MutexLock& proof) VELK_REQUIRES(lock);
    handlers::HandlerData dataOf(EPrivateAction action, std::string text) const;
    /// As `CallbackGuard::notify`.
    bool notifyListener(IConnectorListener& listener, const handlers::HandlerData& data,
                        velk::common::MutexLock& held) const VELK_REQUIRES(lock);
    void onDeviceChange(std::uint64_t id) VELK_EXCLUDES(lock);
    void onChannelChange(std::uint64_t id, const qz::CValue& value) VELK_EXCLUDES(lock);

    tessapi::ITessAccessor& accessor;
    const EPath basePath;
    const std::uint64_t deviceId{tessapi::ITessAccessor::ROOT_DEVICE};
    std::uint64_t deviceSubscriptionId VELK_GUARDED_BY(lock){0};
    std::uint64_t channelSubscriptionId VELK_GUARDED_BY(lock){0};
    mutable velk::common::Mutex lock;
    // Grows in the order of first use, by `load` too.
    mutable std::vector<std::pair<EPrivateAction, Entry>> entries VELK_GUARDED_BY(lock);
    CallbackGuard guard;
};

} // namespace velk::powerdistribution::connectors
