#include "platform/tessapi/network/RedisConnection.h"

#include "platform/tessapi/network/LinkError.h"
#include "platform/tessapi/network/ServerRefusal.h"

#include <array>
#include <hiredis/hiredis.h>
#include <string>
#include <utility>

namespace tessapi {

namespace {

const redisReplyObjectFunctions& libraryFunctions() {
    static const redisReplyObjectFunctions functions = [] {
        redisReader* const reader = redisReaderCreate();
        const redisReplyObjectFunctions own = *reader->fn;
        redisReaderFree(reader);
        return own;
    }();
    return functions;
}

/// The room of a list is taken before its elements are there, so nobody may say how much that is. What gives
/// nothing is an error of the answer.
template <typename Count>
void* makeList(const redisReadTask* task, Count count) {
    const bool isTooLong = static_cast<std::size_t>(count) > RedisConnection::LONGEST_LIST;
    return isTooLong ? nullptr : libraryFunctions().createArray(task, count);
}

redisReader* makeReader() {
    static redisReplyObjectFunctions functions = [] {
        redisReplyObjectFunctions bounded = libraryFunctions();
        bounded.createArray = makeList;
        return bounded;
    }();
    return redisReaderCreateWithFunctions(&functions);
}

} // namespace

void RedisConnection::Freer::operator()(redisReader* decoder) const {
    redisReaderFree(decoder);
}

RedisConnection::RedisConnection(std::unique_ptr<ITransport> stream) :
    transport{std::move(stream)}, reader{makeReader()} {}

Reply RedisConnection::call(const Command& command, const Deadline& deadline) {
    send(command, deadline);
    return receive(deadline);
}

void RedisConnection::send(const Command& command, const Deadline& deadline) {
    transport->send(command.encoded(), deadline);
}

Reply RedisConnection::receive(const Deadline& deadline) {
    std::array<char, 16384> chunk; // NOLINT(cppcoreguidelines-pro-type-member-init): filled before it is read
    std::size_t received = 0;
    for (;;) {
        if (auto reply = decoded()) {
            if (reply->view().isError()) {
                throw ServerRefusal{std::string{reply->view().text()}};
            }
            return std::move(*reply);
        }
        const auto size = transport->receive(chunk.data(), chunk.size(), deadline);
        received += size;
        if (received > LONGEST_ANSWER) {
            throw LinkError{"an answer that no server of a store gives: it does not end"};
        }
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
