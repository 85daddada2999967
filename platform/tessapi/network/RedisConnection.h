#pragma once

#include "platform/tessapi/network/Command.h"
#include "platform/tessapi/network/ITransport.h"
#include "platform/tessapi/network/Reply.h"

#include <cstddef>
#include <memory>
#include <optional>

struct redisReader;

namespace tessapi {

/// Commands to one server and its answers, which come in the order of the commands. After a LinkError it is
/// of no use any more. Threads: one at a time.
class RedisConnection {
public:
    /// What is longer comes from no server of a store; it must not take the memory of the machine.
    static constexpr std::size_t LONGEST_ANSWER = std::size_t{256} << 20U;
    static constexpr std::size_t LONGEST_LIST = std::size_t{1} << 20U;

    explicit RedisConnection(std::unique_ptr<ITransport> stream);

    /// Throws ServerRefusal for an error of the server.
    Reply call(const Command& command, const Deadline& deadline);

    void send(const Command& command, const Deadline& deadline);
    /// The next answer; throws ServerRefusal for an error of the server.
    Reply receive(const Deadline& deadline);

    int descriptor() const { return transport->descriptor(); }

private:
    struct Freer {
        void operator()(redisReader* decoder) const;
    };

    std::optional<Reply> decoded();

    std::unique_ptr<ITransport> transport;
    std::unique_ptr<redisReader, Freer> reader;
};

} // namespace tessapi
