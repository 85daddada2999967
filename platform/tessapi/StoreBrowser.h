#pragma once

#include "platform/common/Export.h"
#include "platform/qz/CDevice.h"
#include "platform/qz/CMultistateMap.h"
#include "platform/qz/CSingleAlarmConfig.h"
#include "platform/qz/CValue.h"
#include "platform/qz/datatype.h"
#include "platform/tessapi/AlarmEvent.h"
#include "platform/tessapi/DataAlarms.h"
#include "platform/tessapi/StoreHealth.h"
#include "platform/tessapi/WriteRecord.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace tessapi {

/// Everything that the store knows of one channel.
struct ChannelRecord {
    std::uint64_t id{~std::uint64_t{0}};
    std::uint64_t deviceId{~std::uint64_t{0}};
    std::string name; ///< for instance "PowerDistribution.Measure.Voltage"
    qz::datatype type{qz::datatype::unknown};
    qz::CValue value; ///< invalid while `initialized` is false
    bool initialized{false};
    std::int64_t writtenMs{
        0}; ///< last write, also of an unchanged value: milliseconds since 1970 UTC, 0 for never
    std::int64_t changedMs{0}; ///< last change of the value, likewise
    std::string unit;          ///< from the catalogue; empty for states, texts and factors
    std::string description;   ///< from the catalogue; empty for a name that it does not know
    qz::CMultistateMap states;
    qz::CMultistateMap commonStates; ///< what the catalogue calls the states, also those not in `states`
    qz::tess::CSingleAlarmConfig alarmConfig;
    std::vector<ActiveAlarm> activeAlarms; ///< most critical first
};

/// The store at one moment.
struct StoreSnapshot {
    std::vector<qz::CDevice> devices;    ///< by identifier
    std::vector<ChannelRecord> channels; ///< by device, then by identifier
    bool ofSeveralMachines{false};       ///< programs of other machines may work on it
};

/// One change of the store as a watcher sees it.
struct ChannelWrite {
    std::uint64_t channel{~std::uint64_t{0}};
    qz::CValue value;
    std::int64_t timeMs{0}; ///< when it was written: milliseconds since 1970 UTC
};

struct StoreImage; // in its own header

/// What programs that show the store need beyond the accessors: all of it at once.
/// Threads: any.
class VELK_EXPORT StoreBrowser {
public:
    virtual ~StoreBrowser();

    /// Devices and channels as they were at one moment: no write is seen half.
    virtual StoreSnapshot snapshot() = 0;

    /// Calls `callback` on the client thread for every write of any channel of the store, in order, channels
    /// that come into being later among them. Ended by InBandAccessor::unsubscribe.
    virtual void subscribeAllChannels(std::function<void(const ChannelWrite&)> callback,
                                      std::uint64_t* subscription) = 0;

    /// Which store this is, for messages: "sqlite:/var/lib/velk/tess.db", "memory:test".
    virtual std::string url() const = 0;

    /// The alarms that were raised and cleared at or after `sinceMs` (milliseconds since 1970 UTC), oldest
    /// first; of more than `limit` the newest. The store keeps some thousand.
    virtual std::vector<AlarmEvent> alarmEvents(std::int64_t sinceMs, std::size_t limit) = 0;

    /// What became of the writes to the device that were asked for; likewise.
    virtual std::vector<WriteRecord> writeRecords(std::int64_t sinceMs, std::size_t limit) = 0;

    /// Adds a record; its number is given by the store.
    virtual void recordWrite(const WriteRecord& record) = 0;

    /// Everything that the store holds, as it was at one moment.
    virtual StoreImage image() = 0;

    /// Puts everything of `image` into a store that has nothing but its root device; throws
    /// boost::system::system_error for any other. It is no write: nobody is told.
    virtual void fill(const StoreImage& image) = 0;

    /// How the store stands with what it lies on. Without an engine behind it there is nothing to tell but
    /// the URL.
    virtual StoreHealth health();
};

} // namespace tessapi
