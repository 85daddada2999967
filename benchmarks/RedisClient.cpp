#include "benchmarks/RedisClient.h"

#include <chrono>
#include <cstdio>
#include <hiredis/hiredis.h>
#include <stdexcept>

namespace velk::benchmarks {

namespace {

constexpr const char* LIBRARY = R"(#!lua name=benchmark
local function is_active(kind, low, number)
  return (kind == '1' and number >= low) or (kind == '2' and number <= low)
end

local function evaluate(id, device, value, time)
  local number = tonumber(value)
  local changed = false
  for place, trigger in ipairs(redis.call('LRANGE', '{b}triggers:' .. id, 0, -1)) do
    local kind, low, level, was = string.match(trigger, '(%d+) (%S+) (%d+) (%d)')
    local is = is_active(kind, tonumber(low), number)
    if is ~= (was == '1') then
      redis.call('LSET', '{b}triggers:' .. id, place - 1, kind .. ' ' .. low .. ' ' .. level .. (is and ' 1' or ' 0'))
      changed = true
    end
  end
  if changed then
    redis.call('XADD', '{b}log', 'MAXLEN', '~', '65536', '*', 'k', '2', 'o', device, 't', time)
  end
end

redis.register_function('benchmark_set', function(keys, args)
  local id, value, time, tell = args[1], args[2], args[3], args[4]
  local channel = '{b}channel:' .. id
  local row = redis.call('HMGET', channel, 'type', 'value', 'changed', 'triggers', 'device')
  if not row[1] then
    return redis.error_reply('no such channel')
  end
  local changed = row[2] == value and row[3] or time
  redis.call('HSET', channel, 'value', value, 'written', time, 'changed', changed)
  redis.call('XADD', '{b}log', 'MAXLEN', '~', '65536', '*', 'k', '0', 'o', id, 'v', value, 't', time)
  if row[4] == '1' then
    evaluate(id, row[5], value, time)
  end
  if tell == '1' then
    redis.call('PUBLISH', 'news', value)
  end
  return redis.status_reply('OK')
end)
)";

struct ReplyFree {
    void operator()(redisReply* reply) const { freeReplyObject(reply); }
};
using Reply = std::unique_ptr<redisReply, ReplyFree>;

std::int64_t nowMs() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

} // namespace

void RedisClient::Closer::operator()(redisContext* context) const {
    redisFree(context);
}

RedisClient::RedisClient(const std::filesystem::path& socket) : connection{redisConnectUnix(socket.c_str())} {
    if (!connection || connection->err != 0) {
        throw std::runtime_error{"no server at " + socket.string()};
    }
}

RedisClient::~RedisClient() = default;

std::string RedisClient::command(const std::vector<std::string>& words) {
    std::vector<const char*> texts;
    std::vector<std::size_t> sizes;
    for (const std::string& word : words) {
        texts.push_back(word.data());
        sizes.push_back(word.size());
    }
    const Reply reply{static_cast<redisReply*>(
        redisCommandArgv(connection.get(), static_cast<int>(texts.size()), texts.data(), sizes.data()))};
    if (!reply || reply->type == REDIS_REPLY_ERROR) {
        throw std::runtime_error{reply ? reply->str : connection->errstr};
    }
    return reply->str == nullptr ? "" : std::string(reply->str, reply->len);
}

void RedisClient::prepare(int count) {
    command({"FUNCTION", "LOAD", "REPLACE", LIBRARY});
    for (int channel = 0; channel < count; ++channel) {
        const std::string id = std::to_string(channel);
        const std::string triggers = "{b}triggers:" + id;
        command({"DEL", triggers});
        command({"HSET", "{b}channel:" + id, "type", "6", "value", "0", "changed", "0", "triggers", "1",
                 "device", "2"});
        command({"RPUSH", triggers, "1 1000000000 6 0", "2 -1000000000 6 0"});
    }
}

void RedisClient::set(int channel, float value, bool tell) {
    // As a client does it that makes no text twice.
    const Reply reply{static_cast<redisReply*>(
        redisCommand(connection.get(), "FCALL benchmark_set 1 {b} %d %.9g %lld %s", channel,
                     static_cast<double>(value), static_cast<long long>(nowMs()), tell ? "1" : "0"))};
    if (!reply || reply->type == REDIS_REPLY_ERROR) {
        throw std::runtime_error{reply ? reply->str : connection->errstr};
    }
}

float RedisClient::get(int channel) {
    return std::stof(command({"HGET", "{b}channel:" + std::to_string(channel), "value"}));
}

void RedisClient::subscribe() {
    command({"SUBSCRIBE", "news"});
}

float RedisClient::receive() {
    void* raw = nullptr;
    if (redisGetReply(connection.get(), &raw) != REDIS_OK) {
        throw std::runtime_error{connection->errstr};
    }
    const Reply reply{static_cast<redisReply*>(raw)};
    return std::stof(reply->element[2]->str);
}

} // namespace velk::benchmarks
