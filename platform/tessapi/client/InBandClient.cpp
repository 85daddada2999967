#include "platform/tessapi/client/InBandClient.h"

#include <stdexcept>

namespace tessapi {

std::uint64_t InBandClient::emplaceChannel(std::uint64_t device, const std::string& name, bool /*option*/) {
    return engine.emplaceChannel(device, name);
}

std::uint64_t InBandClient::getCatchedChannelId(std::uint64_t device, const std::string& name) {
    return engine.findChannel(device, name);
}

qz::datatype InBandClient::getChannelDataType(std::uint64_t channel) {
    return engine.typeOf(channel);
}

bool InBandClient::isChannelValueInitialized(std::uint64_t channel) {
    return engine.valueOf(channel).isValid();
}

qz::CValue InBandClient::getChannelCValue(std::uint64_t channel) {
    return engine.valueOf(channel);
}

void InBandClient::setChannelCValue(std::uint64_t channel, const qz::CValue& value) {
    engine.setValue(channel, value);
}

void InBandClient::setChannelAlarmConfig(std::uint64_t channel, const qz::tess::CSingleAlarmConfig& config) {
    engine.setAlarmConfig(channel, config);
}

void InBandClient::setChannelMultistateMap(std::uint64_t channel, const qz::CMultistateMap& states) {
    engine.setStates(channel, states);
}

qz::CDevice InBandClient::getDevice(std::uint64_t device) {
    return engine.device(device);
}

std::string InBandClient::getDeviceAttribute(std::uint64_t device, DeviceAttribute attribute) {
    return engine.attribute(device, static_cast<std::uint32_t>(attribute));
}

std::string InBandClient::getDeviceAttribute(const qz::CDevice& device, DeviceAttribute attribute) {
    const auto number = static_cast<std::size_t>(attribute);
    return number < device.attributes.size() ? device.attributes[number] : "";
}

void InBandClient::setDeviceAttribute(std::uint64_t device, DeviceAttribute attribute,
                                      const std::string& text) {
    engine.setAttribute(device, static_cast<std::uint32_t>(attribute), text);
}

void InBandClient::removeAllChannelsExcept(std::uint64_t device, const std::vector<std::uint64_t>& keep) {
    engine.removeChannels(device, keep);
}

void InBandClient::subscribeMultipleChannels(const std::vector<std::uint64_t>& channels,
                                             ChannelCallback callback, qz::sub::subscription_type type,
                                             std::uint64_t* subscription) {
    using Made = std::unique_ptr<Subscription>;
    switch (type) {
    case qz::sub::everyWrite:
        dispatcher.subscribe(
            {},
            [&](const Engine::Start& start) -> Made {
                return std::make_unique<EveryWriteSubscription>(start.seq, channels, std::move(callback));
            },
            subscription);
        return;
    case qz::sub::changes:
        dispatcher.subscribe(
            channels,
            [&](const Engine::Start& start) -> Made {
                return std::make_unique<ChangesSubscription>(start.seq, start.values, std::move(callback));
            },
            subscription);
        return;
    default:
        throw std::invalid_argument{"channels have no subscription of type " + std::to_string(type)};
    }
}

void InBandClient::subscribeDevice(std::uint64_t device, DeviceCallback callback,
                                   qz::sub::subscription_type type, bool /*option*/,
                                   std::uint64_t* subscription) {
    if (type != qz::sub::attributes) {
        throw std::invalid_argument{"devices have no subscription of type " + std::to_string(type)};
    }
    dispatcher.subscribe(
        {},
        [&](const Engine::Start& start) {
            return std::make_unique<AttributeSubscription>(start.seq, device, std::move(callback));
        },
        subscription);
}

void InBandClient::subscribeDeviceAlarms(std::uint64_t device, AlarmCallback callback,
                                         std::uint64_t* subscription) {
    dispatcher.subscribe(
        {},
        [&](const Engine::Start& start) {
            return std::make_unique<AlarmSubscription>(start.seq, device, std::move(callback));
        },
        subscription);
}

void InBandClient::unsubscribe(std::uint64_t subscription) {
    dispatcher.unsubscribe(subscription);
}

std::vector<std::uint64_t> InBandClient::emplaceChannels(std::uint64_t device,
                                                         const std::vector<std::string>& names) {
    return engine.emplaceChannels(device, names);
}

void InBandClient::setChannelCValues(const std::vector<std::pair<std::uint64_t, qz::CValue>>& values) {
    engine.setValues(values);
}

void InBandClient::apply(const StoreWrites& writes) {
    engine.apply(writes);
}

} // namespace tessapi
