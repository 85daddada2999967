#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct redisReply;

namespace tessapi {

/// A server's answer, or a part of one, to be looked at. What is of another kind than asked for throws
/// LinkError. It lives as long as the `Reply` that it is of. A plain value.
class ReplyView {
public:
    explicit ReplyView(const redisReply* part) : reply{part} {}

    bool isNil() const;
    bool isError() const;
    /// Whether it is text, not a list or a number.
    bool isText() const;
    bool isInteger() const;

    /// Of a text, a status or an error.
    std::string_view text() const;
    /// Of a number, or of a text that is one.
    std::int64_t integer() const;
    std::uint64_t id() const { return static_cast<std::uint64_t>(integer()); }

    /// Of a list.
    std::size_t size() const;
    ReplyView at(std::size_t index) const;

private:
    const redisReply* reply;
};

/// A server's answer.
class Reply {
public:
    explicit Reply(redisReply* answer) : reply{answer} {}

    ReplyView view() const { return ReplyView{reply.get()}; }

private:
    struct Freer {
        void operator()(redisReply* answer) const;
    };

    std::unique_ptr<redisReply, Freer> reply;
};

} // namespace tessapi
