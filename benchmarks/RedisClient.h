#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

struct redisContext;

namespace velk::benchmarks {

/// A client of a Redis server on a Unix socket, with a function there that does what a set of a value does in
/// the store: it looks the channel up, keeps value and times, enters the write in a log of 65,536 entries and
/// evaluates the channel's two triggers, all or nothing. Threads: one.
class RedisClient {
public:
    explicit RedisClient(const std::filesystem::path& socket);
    ~RedisClient();
    RedisClient(const RedisClient&) = delete;
    RedisClient& operator=(const RedisClient&) = delete;

    /// Loads the function and makes `count` channels without an active alarm.
    void prepare(int count);

    /// One call of the function; with `tell` it also publishes the value.
    void set(int channel, float value, bool tell = false);
    float get(int channel);

    /// From here on the client only listens.
    void subscribe();
    /// The value of the next message.
    float receive();

private:
    struct Closer {
        void operator()(redisContext* context) const;
    };

    std::string command(const std::vector<std::string>& words);

    std::unique_ptr<redisContext, Closer> connection;
};

} // namespace velk::benchmarks
