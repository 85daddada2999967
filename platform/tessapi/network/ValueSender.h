#pragma once

#include "platform/tessapi/network/ChannelMemory.h"
#include "platform/tessapi/network/Outbox.h"
#include "platform/tessapi/network/RedisLink.h"

#include <cstdint>
#include <string>

namespace tessapi {

/// Sends values of channels to a site, one batch as one transaction.
/// Threads: any.
class ValueSender {
public:
    /// What the server said to a batch; it has taken all of it or nothing.
    struct Verdict {
        enum class Kind { taken, unknownChannel, otherType, behind };
        Kind kind{Kind::taken};
        std::uint64_t done{0}; ///< the last call that the server knows, when it misses some before this one
        std::uint64_t channel{0}; ///< the one that it is about
        qz::datatype type{};      ///< that this channel takes
        std::string name;         ///< of this channel
    };

    /// `server` outlives the object. The others say how many the site keeps of them.
    ValueSender(RedisLink& server, std::int64_t changes, std::int64_t events);

    /// Throws what RedisLink::call throws; LinkError also for a verdict about something else.
    Verdict send(const Outbox::Batch& batch);

    /// The beginning of every writing call of a function of the library: its own arguments follow. `writer`
    /// is one of the link's, `number` that of its call.
    Command write(const std::string& function, const std::string& writer, std::uint64_t number, bool again,
                  std::int64_t timeMs) const;

private:
    static Verdict verdictOf(ReplyView reply, const Outbox::Batch& batch);

    RedisLink& link;
    const std::int64_t changesKept;
    const std::int64_t eventsKept;
};

} // namespace tessapi
