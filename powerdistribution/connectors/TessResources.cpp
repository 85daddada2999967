#include "powerdistribution/connectors/TessResources.h"

#include <utility>

namespace velk::powerdistribution::connectors {

void TessResources::add(std::uint64_t device) {
    addOrAppend(device, {});
}

void TessResources::add(std::uint64_t device, std::uint64_t channel) {
    addOrAppend(device, {channel});
}

void TessResources::add(std::uint64_t device, const Channels& channels) {
    addOrAppend(device, Channels{channels});
}

void TessResources::add(std::uint64_t device, Channels&& channels) {
    addOrAppend(device, std::move(channels));
}

void TessResources::add(const TessResources& other) {
    for (const auto& [device, channels] : other.devices) {
        add(device, channels);
    }
}

void TessResources::add(TessResources&& other) {
    for (auto& [device, channels] : other.devices) {
        addOrAppend(device, std::move(channels));
    }
}

void TessResources::addOrAppend(std::uint64_t device, Channels&& channels) {
    const auto [entry, isNew] = devices.try_emplace(device, std::move(channels));
    if (!isNew) {
        entry->second.insert(entry->second.end(), channels.begin(), channels.end());
    }
}

} // namespace velk::powerdistribution::connectors
