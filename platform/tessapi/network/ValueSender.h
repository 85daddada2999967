#pragma once

#include "platform/tessapi/network/ChannelMemory.h"
#include "platform/tessapi/network/Outbox.h"
#include "platform/tessapi/network/RedisLink.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace tessapi {

/// Sends values of channels to a site, one batch as one transaction.
/// Threads: any.
class ValueSender {
public:
    /// What the server said to a batch; it has taken all of it or nothing.
    struct Verdict {
        enum class Kind { taken, unknownChannel, otherType };
        Kind kind{Kind::taken};
        std::uint64_t channel{0}; ///< the one that it is about
        qz::datatype type{};      ///< that this channel takes
        std::string name;         ///< of this channel
    };

    /// `server` outlives the object. `kept` has the bounds of what the site keeps.
    ValueSender(RedisLink& server, const Engine::Options& kept);

    /// Throws what RedisLink::call throws.
    Verdict send(const Outbox::Batch& batch);

    /// By which the server knows a write again that comes twice.
    std::string nextMark();

    /// The beginning of every writing call of a function of the library: its own arguments follow.
    Command write(const std::string& function, const std::string& mark, std::int64_t seen, bool again,
                  std::int64_t timeMs) const;

private:
    RedisLink& link;
    const std::int64_t changesKept;
    const std::int64_t eventsKept;
    const std::string program; ///< random
    std::atomic<std::uint32_t> writes{0};
};

} // namespace tessapi
