#pragma once

#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/client/Dispatcher.h"
#include "platform/tessapi/engine/Engine.h"

namespace tessapi {

/// The channels and attributes of a store as an engine has it.
/// Threads: any.
class InBandClient final : public InBandAccessor {
public:
    /// Both outlive the object.
    InBandClient(Engine& opened, Dispatcher& client) : engine{opened}, dispatcher{client} {}

    std::uint64_t emplaceChannel(std::uint64_t device, const std::string& name, bool option) override;
    std::uint64_t getCatchedChannelId(std::uint64_t device, const std::string& name) override;
    qz::datatype getChannelDataType(std::uint64_t channel) override;
    bool isChannelValueInitialized(std::uint64_t channel) override;
    qz::CValue getChannelCValue(std::uint64_t channel) override;
    void setChannelCValue(std::uint64_t channel, const qz::CValue& value) override;
    void setChannelAlarmConfig(std::uint64_t channel, const qz::tess::CSingleAlarmConfig& config) override;
    void setChannelMultistateMap(std::uint64_t channel, const qz::CMultistateMap& states) override;
    qz::CDevice getDevice(std::uint64_t device) override;
    std::string getDeviceAttribute(std::uint64_t device, DeviceAttribute attribute) override;
    std::string getDeviceAttribute(const qz::CDevice& device, DeviceAttribute attribute) override;
    void setDeviceAttribute(std::uint64_t device, DeviceAttribute attribute,
                            const std::string& text) override;
    void removeAllChannelsExcept(std::uint64_t device, const std::vector<std::uint64_t>& keep) override;
    void subscribeMultipleChannels(const std::vector<std::uint64_t>& channels, ChannelCallback callback,
                                   qz::sub::subscription_type type, std::uint64_t* subscription) override;
    void subscribeDevice(std::uint64_t device, DeviceCallback callback, qz::sub::subscription_type type,
                         bool option, std::uint64_t* subscription) override;
    void subscribeDeviceAlarms(std::uint64_t device, AlarmCallback callback,
                               std::uint64_t* subscription) override;
    void unsubscribe(std::uint64_t subscription) override;
    std::vector<std::uint64_t> emplaceChannels(std::uint64_t device,
                                               const std::vector<std::string>& names) override;
    void apply(const StoreWrites& writes) override;
    void setChannelCValues(const std::vector<std::pair<std::uint64_t, qz::CValue>>& values) override;

private:
    Engine& engine;
    Dispatcher& dispatcher;
};

} // namespace tessapi
