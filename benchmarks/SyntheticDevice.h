#pragma once

#include "powerdistribution/protocols/IWrapperFactory.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>

namespace velk::benchmarks {

/// A power strip with as many outlets as wanted, each of `POINTS_OF_AN_OUTLET` data points as real ones have
/// them: identification, nameplate values, statuses, measures, settings, an action, two of them with alarm
/// triggers of which one refers to a setting. The rules are those of a plug-in, over its public toolkit.
///
/// Threads: any, once it is made.
class SyntheticDevice {
public:
    static constexpr std::uint32_t POINTS_OF_AN_OUTLET = 20;

    /// Makes the rules, and the alarm file in `folder`.
    SyntheticDevice(std::uint32_t outlets, const std::filesystem::path& folder);
    ~SyntheticDevice();
    SyntheticDevice(const SyntheticDevice&) = delete;
    SyntheticDevice& operator=(const SyntheticDevice&) = delete;

    std::shared_ptr<powerdistribution::protocols::IWrapperFactory> wrapperFactory() const;

    /// A point changes at one of this many of its reads, all of them spread evenly; 0 for never.
    std::atomic<std::uint32_t> changeEvery{0};
    /// Reads of all points so far.
    std::atomic<std::uint64_t> reads{0};

private:
    class Factory;
    const std::shared_ptr<Factory> factory;
};

} // namespace velk::benchmarks
