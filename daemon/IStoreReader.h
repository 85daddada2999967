#pragma once

#include "platform/tessapi/ITessAccessor.h"
#include "platform/tessapi/StoreBrowser.h"

#include <cstdint>

namespace velk::daemon {

/// Reads along what is written into the store; see StoreFeed.
///
/// Threads: one call at a time, apart from `tick`, which may come during another one. An exception of the
/// standard library is reported by the feed.
class IStoreReader {
public:
    virtual ~IStoreReader() = default;

    /// Once, before anything else: the client of the store, which outlives all calls.
    virtual void begin(tessapi::ITessAccessor& client) = 0;

    /// Once for each channel, before its first write. `isFormer`: it was there, with its value, before the
    /// reading began.
    virtual void meet(const qz::CDevice& device, const tessapi::ChannelRecord& channel, bool isFormer) = 0;

    /// The channel is gone.
    virtual void leave(std::uint64_t channel) = 0;

    /// A write of a channel that was met; also one that changes nothing.
    virtual void take(const tessapi::ChannelWrite& write) = 0;

    /// Every second.
    virtual void tick() = 0;
};

} // namespace velk::daemon
