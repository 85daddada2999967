#pragma once

#include "platform/common/Export.h"

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace velk::powerdistribution::connectors {

/// The store's devices and channels that are in use. A device with an empty list is in use, but none of its
/// channels. Threads: built and consumed on one thread.
class VELK_EXPORT TessResources {
public:
    using Channels = std::vector<std::uint64_t>;
    using Map = std::unordered_map<std::uint64_t, Channels>;

    void add(std::uint64_t device);
    void add(std::uint64_t device, std::uint64_t channel);
    void add(std::uint64_t device, const Channels& channels);
    void add(std::uint64_t device, Channels&& channels);
    void add(const TessResources& other);
    void add(TessResources&& other);

    /// Enters a new device, or appends to the channels of a known one; duplicates stay.
    void addOrAppend(std::uint64_t device, Channels&& channels);

    const Map& resources() const { return devices; }

private:
    Map devices;
};

} // namespace velk::powerdistribution::connectors
