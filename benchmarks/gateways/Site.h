#pragma once

#include "platform/tessapi/StoreImage.h"
#include "platform/tessapi/engine/Engine.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace velk::benchmarks {

/// One gateway of many: its store, and what it writes there in one go: some measures and, last, the moment
/// from which a listener counts.
/// Threads: one at a time.
class Site {
public:
    /// The channel with the moment.
    static constexpr std::uint64_t STAMP = 1000;

    /// Opens the store; `channels` counts all of its channels and `group` those that are written in one go.
    Site(const std::string& url, std::size_t channels, std::size_t group);

    /// Makes the store's devices and channels, each with a first value.
    void fill();

    /// Writes the next channels in turn, the last of them with `moment` in it.
    void write(std::int64_t moment);

    tessapi::Engine& store() { return *engine; }

private:
    std::shared_ptr<tessapi::Engine> engine;
    std::size_t channels;
    std::size_t group;
    std::size_t next{0};
    float value{0.0F};
};

/// Nanoseconds of a clock that all processes of the machine share.
std::int64_t nowNs();

} // namespace velk::benchmarks
