#include "platform/tessapi/network/Reply.h"

#include "platform/tessapi/network/LinkError.h"

#include <charconv>
#include <hiredis/hiredis.h>

namespace tessapi {

namespace {

[[noreturn]] void refuse(const char* expected) {
    throw LinkError{std::string{"an answer that no server of a store gives: "} + expected + " was expected"};
}

} // namespace

void Reply::Freer::operator()(redisReply* answer) const {
    freeReplyObject(answer);
}

bool ReplyView::isNil() const {
    return reply->type == REDIS_REPLY_NIL;
}

bool ReplyView::isError() const {
    return reply->type == REDIS_REPLY_ERROR;
}

bool ReplyView::isText() const {
    return reply->type == REDIS_REPLY_STRING || reply->type == REDIS_REPLY_STATUS;
}

bool ReplyView::isInteger() const {
    return reply->type == REDIS_REPLY_INTEGER;
}

std::string_view ReplyView::text() const {
    if (!isText() && !isError()) {
        refuse("a text");
    }
    return {reply->str, static_cast<std::size_t>(reply->len)};
}

std::int64_t ReplyView::integer() const {
    if (reply->type == REDIS_REPLY_INTEGER) {
        return reply->integer;
    }
    std::int64_t number = 0;
    const auto digits = text();
    const auto* end = digits.data() + digits.size();
    const auto [stop, failure] = std::from_chars(digits.data(), end, number);
    if (failure != std::errc{} || stop != end) {
        refuse("a number");
    }
    return number;
}

std::size_t ReplyView::size() const {
    if (reply->type != REDIS_REPLY_ARRAY) {
        refuse("a list");
    }
    return reply->elements;
}

ReplyView ReplyView::at(std::size_t index) const {
    if (index >= size()) {
        refuse("a longer list");
    }
    return ReplyView{reply->element[index]};
}

} // namespace tessapi
