// The out-of-line parts of the store's interfaces: one vtable each, in this library.

#include "platform/tessapi/DataAlarms.h"
#include "platform/tessapi/ITessAccessor.h"
#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/StoreBrowser.h"

namespace tessapi {

ITessAccessor::~ITessAccessor() = default;

InBandAccessor::~InBandAccessor() = default;

DataAlarms::~DataAlarms() = default;

StoreBrowser::~StoreBrowser() = default;

std::vector<std::uint64_t> InBandAccessor::emplaceChannels(std::uint64_t device,
                                                           const std::vector<std::string>& names) {
    std::vector<std::uint64_t> channels;
    channels.reserve(names.size());
    for (const auto& name : names) {
        channels.push_back(emplaceChannel(device, name, false));
    }
    return channels;
}

void InBandAccessor::apply(const StoreWrites& writes) {
    for (const auto& [device, attribute, text] : writes.attributes) {
        setDeviceAttribute(device, attribute, text);
    }
    for (const auto& [channel, config] : writes.alarmConfigs) {
        setChannelAlarmConfig(channel, config);
    }
    for (const auto& [channel, states] : writes.states) {
        setChannelMultistateMap(channel, states);
    }
    if (!writes.values.empty()) {
        setChannelCValues(writes.values);
    }
}

StoreHealth StoreBrowser::health() {
    StoreHealth health;
    health.url = url();
    return health;
}

} // namespace tessapi
