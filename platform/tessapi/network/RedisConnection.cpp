#include "platform/tessapi/network/RedisConnection.h"

#include "platform/tessapi/network/LinkError.h"
#include "platform/tessapi/network/ServerRefusal.h"

#include <array>
#include <hiredis/hiredis.h>
#include <string>
#include <utility>

namespace tessapi {

void RedisConnection::Freer::operator()(redisReader* decoder) const {
    redisReaderFree(decoder);
}

RedisConnection::RedisConnection(std::unique_ptr<ITransport> stream) :
    transport{std::move(stream)}, reader{redisReaderCreate()} {}

Reply RedisConnection::call(const Command& command, const Deadline& deadline) {
    send(command, deadline);
    return receive(deadline);
}

void RedisConnection::send(const Command& command, const Deadline& deadline) {
    transport->send(command.encoded(), deadline);
}

Reply RedisConnection::receive(const Deadline& deadline) {
    std::array<char, 16384> chunk; // NOLINT(cppcoreguidelines-pro-type-member-init): filled before it is read
    for (;;) {
        if (auto reply = decoded()) {
            if (reply->view().isError()) {
                throw ServerRefusal{std::string{reply->view().text()}};
            }
            return std::move(*reply);
        }
        const auto size = transport->receive(chunk.data(), chunk.size(), deadline);
        redisReaderFeed(reader.get(), chunk.data(), size);
    }
}

std::optional<Reply> RedisConnection::decoded() {
    void* reply = nullptr;
    if (redisReaderGetReply(reader.get(), &reply) != REDIS_OK) {
        throw LinkError{std::string{"an answer that no server of a store gives: "} + reader->errstr};
    }
    if (reply == nullptr) {
        return std::nullopt;
    }
    return Reply{static_cast<redisReply*>(reply)};
}

} // namespace tessapi
