#pragma once

#include "platform/common/Mutex.h"
#include "platform/tessapi/engine/Engine.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace tessapi {

/// What a program has learnt of the channels of a store while its server was there: what a value of each has
/// to be, so that values can be taken while the server is away.
/// Threads: any.
class ChannelMemory {
public:
    void learnType(std::uint64_t channel, qz::datatype type) VELK_EXCLUDES(mutex);
    void learnName(std::uint64_t channel, const std::string& name) VELK_EXCLUDES(mutex);
    void forget(std::uint64_t channel) VELK_EXCLUDES(mutex);

    /// Whether all channels are known. Throws std::invalid_argument, as a store does, for a value of another
    /// type than its channel.
    bool knows(const std::vector<Engine::ChannelValue>& values) const VELK_EXCLUDES(mutex);

    /// Whether every write of the channel counts, not only the newest: those of actions and settings, of the
    /// daemon's own channels, and of channels whose name was never learnt.
    bool isInOrder(std::uint64_t channel) const VELK_EXCLUDES(mutex);

    /// The refusal of a value: "channel 1003 (Name) takes float32, not string".
    static std::string refusal(std::uint64_t channel, const std::string& name, qz::datatype type,
                               const qz::CValue& value);

private:
    struct Known {
        qz::datatype type{qz::datatype::unknown};
        std::string name;
        bool inOrder{true};
    };

    mutable velk::common::Mutex mutex;
    std::unordered_map<std::uint64_t, Known> channels VELK_GUARDED_BY(mutex);
};

} // namespace tessapi
