#include "tests/platform/tessapi/StoreClient.h"

#include <algorithm>
#include <stdexcept>
#include <unistd.h>

namespace tessapi::contract {

StoreClient::StoreClient(const std::string& url, bool create) :
    accessor{TessAccessor::open("contract-test", url, create)} {}

std::uint64_t StoreClient::device(const std::string& name, std::uint64_t parent, std::uint64_t wanted) {
    return accessor->emplaceDevice(uuidFor(name), parent, wanted);
}

std::uint64_t StoreClient::channel(std::uint64_t device, const std::string& name) {
    return channels().emplaceChannel(device, name, false);
}

void StoreClient::setAlarms(std::uint64_t channelId, std::vector<qz::CAlarmTrigger> triggers) {
    qz::tess::CSingleAlarmConfig config;
    config.triggers = std::move(triggers);
    channels().setChannelAlarmConfig(channelId, config);
}

Recorder<Write> StoreClient::watch(const std::vector<std::uint64_t>& channelIds,
                                   qz::sub::subscription_type type, std::uint64_t* subscription) {
    const Recorder<Write> recorder;
    channels().subscribeMultipleChannels(
        channelIds,
        [recorder](std::uint64_t channelId, qz::CValue value) {
            recorder.add({channelId, std::move(value)});
        },
        type, subscription);
    return recorder;
}

Recorder<std::uint64_t> StoreClient::watchDevice(std::uint64_t deviceId, std::uint64_t* subscription) {
    const Recorder<std::uint64_t> recorder;
    channels().subscribeDevice(
        deviceId, [recorder](std::uint64_t changed) { recorder.add(changed); }, qz::sub::attributes, false,
        subscription);
    return recorder;
}

Recorder<qz::CAlarmUpdate> StoreClient::watchAlarms(std::uint64_t deviceId, std::uint64_t* subscription) {
    const Recorder<qz::CAlarmUpdate> recorder;
    channels().subscribeDeviceAlarms(
        deviceId, [recorder](const qz::CAlarmUpdate& update) { recorder.add(update); }, subscription);
    return recorder;
}

Recorder<ChannelWrite> StoreClient::watchAll(std::uint64_t* subscription) {
    const Recorder<ChannelWrite> recorder;
    browser().subscribeAllChannels([recorder](const ChannelWrite& write) { recorder.add(write); },
                                   subscription);
    return recorder;
}

ChannelRecord StoreClient::record(std::uint64_t channelId) {
    for (const ChannelRecord& channel : browser().snapshot().channels) {
        if (channel.id == channelId) {
            return channel;
        }
    }
    return {};
}

void StoreClient::settle() {
    passFence();
    passFence();
}

Gate StoreClient::block() {
    const Gate gate;
    const std::uint64_t blocked = ownChannel("Block");
    channels().subscribeMultipleChannels(
        {blocked}, [gate](std::uint64_t, const qz::CValue&) { gate.pass(); }, qz::sub::everyWrite, nullptr);
    set(blocked, "held");
    if (!gate.awaitArrival()) {
        throw std::runtime_error{"The client thread did not come to the gate"};
    }
    return gate;
}

std::uint64_t StoreClient::ownChannel(const std::string& name) {
    return channel(device("of the test's own"), "Test." + name);
}

void StoreClient::passFence() {
    const std::uint64_t current = ownChannel("Fence");
    if (current != fence) {
        fence = current;
        fences = watch({fence});
    }
    const Write pass{fence, qz::CValue{std::to_string(getpid()) + "/" +
                                       std::to_string(reinterpret_cast<std::uintptr_t>(this)) + "/" +
                                       std::to_string(++rounds)}};
    channels().setChannelCValue(pass.first, pass.second);
    const auto passed = fences.waitForItem(pass);
    if (std::find(passed.begin(), passed.end(), pass) == passed.end()) {
        throw std::runtime_error{"A write was not delivered to its own writer"};
    }
}

velk::common::Uuid uuidFor(const std::string& name) {
    return velk::common::Uuid{velk::common::Uuid::VELK_NAMESPACE, name};
}

std::vector<qz::CValue> valuesOf(const std::vector<Write>& writes) {
    std::vector<qz::CValue> values;
    values.reserve(writes.size());
    for (const Write& write : writes) {
        values.push_back(write.second);
    }
    return values;
}

} // namespace tessapi::contract
