#pragma once

#include "platform/tessapi/DataAlarms.h"
#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/StoreBrowser.h"
#include "platform/tessapi/TessAccessor.h"
#include "tests/platform/tessapi/Gate.h"
#include "tests/platform/tessapi/Recorder.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tessapi::contract {

/// One delivered write: channel and value.
using Write = std::pair<std::uint64_t, qz::CValue>;

/// One client of the store under test with the means to watch what it is told.
class StoreClient {
public:
    explicit StoreClient(const std::string& url, bool create = true);

    TessAccessor& store() { return *accessor; }
    InBandAccessor& channels() { return accessor->inbandAccessor(); }
    DataAlarms& alarms() { return accessor->alarmsAccessor(); }
    StoreBrowser& browser() { return accessor->browser(); }

    /// Makes the device of this name, or finds it.
    std::uint64_t device(const std::string& name, std::uint64_t parent = ITessAccessor::ROOT_DEVICE,
                         std::uint64_t wanted = 0);

    /// Makes the channel, or finds it.
    std::uint64_t channel(std::uint64_t device, const std::string& name);

    template <typename T>
    void set(std::uint64_t channelId, T value) {
        channels().setChannelCValue(channelId, qz::CValue{std::move(value)});
    }

    /// Sets the triggers of a channel.
    void setAlarms(std::uint64_t channelId, std::vector<qz::CAlarmTrigger> triggers);

    Recorder<Write> watch(const std::vector<std::uint64_t>& channelIds,
                          qz::sub::subscription_type type = qz::sub::everyWrite,
                          std::uint64_t* subscription = nullptr);
    Recorder<std::uint64_t> watchDevice(std::uint64_t deviceId, std::uint64_t* subscription = nullptr);
    Recorder<qz::CAlarmUpdate> watchAlarms(std::uint64_t deviceId, std::uint64_t* subscription = nullptr);
    Recorder<ChannelWrite> watchAll(std::uint64_t* subscription = nullptr);

    /// The record of a channel in a snapshot; one with all-ones identifiers when there is none.
    ChannelRecord record(std::uint64_t channelId);

    /// Returns when everything that was written before has been delivered to this client's subscribers. Two
    /// writes of its own tell: callbacks come in the order of the writes, and what one round of deliveries
    /// has put off comes before the second.
    void settle();

    /// Holds this client's thread inside a callback until the gate is opened.
    Gate block();

private:
    std::uint64_t ownChannel(const std::string& name);
    void passFence();

    std::unique_ptr<TessAccessor> accessor;
    std::uint64_t fence{ITessAccessor::UNKNOWN_ID};
    std::uint64_t rounds{0};
    Recorder<Write> fences;
};

/// The identifier that tests give to the device of this name.
velk::common::Uuid uuidFor(const std::string& name);

/// The values of delivered writes, without their channels.
std::vector<qz::CValue> valuesOf(const std::vector<Write>& writes);

} // namespace tessapi::contract
