#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "platform/common/Uuid.h"
#include "platform/qz/CValue.h"
#include "platform/qz/datatype.h"
#include "platform/tessapi/ITessAccessor.h"
#include "powerdistribution/connectors/CallbackGuard.h"
#include "powerdistribution/connectors/IExpectingConnector.h"
#include "powerdistribution/connectors/ITessConnector.h"
#include "powerdistribution/connectors/LazyTable.h"
#include "powerdistribution/connectors/StoreTraffic.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace velk::powerdistribution::connectors {

/// Binds one family of data points of one store device to channels: the last node of a path names the
/// channel, the store decides its type, and one subscription serves all channels of the family.
///
/// Threads: workers call `load` and `store`, the state machine `subscribe`, `unsubscribe` and `terminate`,
/// the store's client thread `onChannelChange`. Two locks, always in the order subscription lock, channel
/// lock. A resolved entry is used without any lock of this class.
class BaseChannelTessConnector : public ITessConnector, public IExpectingConnector {
public:
    static constexpr std::uint64_t UNRESOLVED = tessapi::ITessAccessor::UNKNOWN_ID;

    /// What is known of one channel.
    struct ChannelInfo {
        /// All ones until the channel is resolved; written last, so that whoever sees it sees the type too.
        std::atomic<std::uint64_t> id{UNRESOLVED};
        /// The data point's path alone; under the channel lock.
        handlers::HandlerData data;
        std::atomic<qz::datatype> type{qz::datatype::unknown};
        /// Null when nobody listens; written under the subscription lock.
        std::atomic<IConnectorListener*> listener{nullptr};
        /// Whether it was told by `expect`.
        std::atomic<bool> isExpected{false};
    };

    /// `size` is the number of members of the family. `accessor` outlives this object. Without the
    /// traffic of a container the connector gets its own.
    BaseChannelTessConnector(tessapi::ITessAccessor& accessor, const velk::common::Uuid& deviceUuid,
                             unsigned int size,
                             StoreTrafficPtr sharedTraffic = std::make_shared<StoreTraffic>());
    ~BaseChannelTessConnector() override;
    BaseChannelTessConnector(const BaseChannelTessConnector&) = delete;
    BaseChannelTessConnector& operator=(const BaseChannelTessConnector&) = delete;

    void expect(const handlers::HandlerData& data) override;
    void init() override;
    void terminate() override;
    /// Throws PowerDistributionError "Duplicate subscription to PATH within the same TessChannelAccessor".
    void subscribe(const handlers::HandlerData& data, IConnectorListener* listener,
                   const SubscriptionOptions& options) override;
    void unsubscribe(const handlers::HandlerData& data, IConnectorListener* listener) override;
    void load(handlers::HandlerData& data) const override;
    /// Throws PowerDistributionError that names the value, its type and the channel's when they do not agree.
    void store(const handlers::HandlerData& data) override;
    TessResources getResourcesInUse() const override;

    /// Place of the data point in the channel table. Throws std::out_of_range for an empty path and
    /// std::runtime_error "Data model object contains invalid data type" for one of another family.
    virtual unsigned int modelToIndex(const handlers::HandlerData& data) const = 0;

    /// Identifiers of the resolved channels in table order.
    std::vector<std::uint64_t> getChannelIds() const VELK_EXCLUDES(subscriptionLock);
    std::vector<std::uint64_t> getChannelIds(const velk::common::MutexLock& proof) const
        VELK_REQUIRES(subscriptionLock);

    /// The first entry with this identifier, or null.
    const ChannelInfo* getChannelInfo(std::uint64_t id) const VELK_EXCLUDES(channelLock);

    /// The entry as it is, without resolving it.
    ChannelInfo& getChannel(const handlers::HandlerData& data) const;

    /// The entry, resolved if the store has the device; a failure leaves it unresolved. Never touches the
    /// listener. `need` says what the channel is asked for.
    ChannelInfo& getChannelOrEmplace(const handlers::HandlerData& data,
                                     ExpectedChannels::Need need = ExpectedChannels::Need::value) const
        VELK_EXCLUDES(channelLock);

    /// Required: true when at least one entry has NO listener; false for an empty table.
    bool hasAnyChannelListener() const VELK_EXCLUDES(channelLock);

    /// Makes every entry unresolved; types, paths and listeners stay.
    void clearCache() VELK_EXCLUDES(channelLock);

    /// Sends the triggers of `data`, if it has any configuration, and the state names when all triggers are
    /// of type none or value.
    void setChannelAlarmConfiguration(std::uint64_t id, const handlers::HandlerData& data) const;

    /// Replaces the subscription by one over all resolved channels.
    void subscribeToTess(const velk::common::MutexLock& proof, bool notifyEveryUpdate)
        VELK_REQUIRES(subscriptionLock);
    void unsubscribeToTess(const velk::common::MutexLock& proof) VELK_REQUIRES(subscriptionLock);
    /// Required: ends the subscription as soon as one entry has no listener, also for those that have one.
    void checkTessUnsubscription(const velk::common::MutexLock& proof) VELK_REQUIRES(subscriptionLock);

    void load(const ChannelInfo& info, handlers::HandlerData& data) const;

    /// Throws PowerDistributionError "FATAL ERROR in BaseChannelTessConnector::…" for a type without
    /// conversion.
    Value getDataValue(const ChannelInfo& info, const qz::CValue& value) const;
    /// Likewise; throws UnexpectedIndex when `value` is not of the channel's type.
    qz::CValue setDataValue(const ChannelInfo& info, const Value& value) const;

    /// As `CallbackGuard::notify`.
    bool notifyListener(IConnectorListener& listener, const handlers::HandlerData& data,
                        velk::common::MutexLock& lock) const VELK_REQUIRES(subscriptionLock);

    /// The store's report of a change. Threads: the store's client thread.
    void onChannelChange(std::uint64_t id, const qz::CValue& value) const VELK_EXCLUDES(subscriptionLock);

protected:
    /// To be called first in the destructor of the class that the object is of, while all its operations can
    /// still be called.
    void endCallbacks() { guard.close(); }

private:
    const ChannelInfo* findChannel(std::uint64_t id) const VELK_REQUIRES(channelLock);
    void resolve(ChannelInfo& info, const handlers::HandlerData& data, ExpectedChannels::Need need) const
        VELK_REQUIRES(channelLock);
    std::uint64_t emplace(const handlers::HandlerData& data, ExpectedChannels::Need need) const;
    /// Whether its values may wait for others: nobody answers them, and if they get lost that is found out.
    bool mayWait(const ChannelInfo& info) const;
    ExpectedChannels::Owner self() const { return {deviceId, this}; }

    tessapi::ITessAccessor& accessor;
    const StoreTrafficPtr traffic;
    const std::uint64_t deviceId;
    mutable velk::common::Mutex channelLock;
    // One entry for each member of the family, of which a device serves few; filled by `load` too.
    mutable LazyTable<ChannelInfo> channels;
    mutable velk::common::Mutex subscriptionLock VELK_ACQUIRED_BEFORE(channelLock);
    std::uint64_t subscriptionId VELK_GUARDED_BY(subscriptionLock){0};
    CallbackGuard guard;
};

} // namespace velk::powerdistribution::connectors
