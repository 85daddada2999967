#pragma once

#include "platform/common/Uuid.h"
#include "platform/tessapi/StoreBrowser.h"
#include "platform/tessapi/catalogue/Catalogue.h"
#include "platform/tessapi/engine/AlarmTable.h"
#include "platform/tessapi/engine/ChangeLog.h"
#include "platform/tessapi/engine/ChannelCache.h"
#include "platform/tessapi/engine/ChannelTable.h"
#include "platform/tessapi/engine/DeviceTable.h"
#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/EventTable.h"
#include "platform/tessapi/engine/RecordTable.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tessapi {

/// The rules of the store over its tables, on one connection: what a call means, apart from locks,
/// transactions and programs. What changes something runs within a write transaction and enters it in the
/// change log. Threads: those of its database.
class Model {
public:
    /// `names` outlives the model. `options` say how much history is kept.
    Model(Database& database, const Catalogue& names, const Engine::Options& options);

    std::uint64_t emplaceDevice(const velk::common::Uuid& uuid, std::uint64_t parent, std::uint64_t wanted);
    void removeSubDevices(std::uint64_t device, const std::vector<std::uint64_t>& keep, unsigned int limit);
    void setAttribute(std::uint64_t device, std::uint32_t number, const std::string& text);

    std::vector<ChannelTable::Found> emplaceChannels(std::uint64_t device,
                                                     const std::vector<std::string>& names);
    void removeChannels(std::uint64_t device, const std::vector<std::uint64_t>& keep);
    void setValue(std::uint64_t channel, const qz::CValue& value);
    void setAlarmConfig(std::uint64_t channel, const qz::tess::CSingleAlarmConfig& config);
    void setStates(std::uint64_t channel, const qz::CMultistateMap& states);

    void apply(const StoreWrites& writes);

    /// Gives the channels whose type the catalogue has changed their new type; they lose their values.
    void retypeChannels();
    /// Whether `retypeChannels` would change something.
    bool hasOutdatedTypes();

    StoreSnapshot snapshot();
    StoreImage image();
    /// Throws `StoreFault::occupied` unless there is nothing but the root device. It is no write: nothing is
    /// entered in the change log.
    void fill(const StoreImage& image);

    DeviceTable devices;
    ChannelTable channels;
    AlarmTable alarms;
    ChangeLog changes;
    EventTable events;
    RecordTable records;
    ChannelCache cache; ///< each write transaction begins and commits it

private:
    using AlarmRows = std::vector<AlarmTable::Row>;

    qz::datatype typeFor(const std::string& name) const;
    ChannelTable::Found makeChannel(std::uint64_t device, const std::string& name);
    /// Null for an unknown channel.
    ChannelCache::Entry* entryOf(std::uint64_t channel);
    [[noreturn]] void refuseType(std::uint64_t channel, const qz::CValue& value);
    /// Evaluates the triggers of a channel that has its value already; gives whether the set of its active
    /// alarms has changed.
    bool evaluate(std::uint64_t channel, ChannelCache::Entry& entry, std::int64_t timeMs);
    /// Keeps an event for each alarm that is active in one of the two only; gives whether there was one.
    bool noteAlarms(const ChannelTable::Row& channel, const AlarmRows& before, const AlarmRows& after,
                    std::int64_t timeMs);
    AlarmEvent eventOf(const ChannelTable::Row& channel, const qz::CAlarmTrigger& trigger);
    /// Alarms of a channel that is about to go are cleared; gives whether there were some.
    bool clearAlarms(std::uint64_t channel, std::int64_t timeMs);
    void removeDevices(const std::vector<std::uint64_t>& subtree);
    void fillChannel(const ChannelRecord& record);
    void announceAlarms(std::uint64_t device, std::int64_t timeMs);
    ChannelRecord recordOf(ChannelTable::Row row) const;

    Database& database;
    const Catalogue& catalogue;
};

} // namespace tessapi
