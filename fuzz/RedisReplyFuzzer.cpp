// What a server of the networked store sends, in pieces as a socket gives them.

#include "fuzz/Fuzz.h"
#include "platform/tessapi/network/LinkError.h"
#include "platform/tessapi/network/RedisConnection.h"
#include "platform/tessapi/network/ServerRefusal.h"

#include <algorithm>
#include <chrono>

using namespace tessapi;
using velk::fuzz::demand;

namespace {

/// Gives `text` in pieces of `step` bytes, then breaks.
class Stream : public ITransport {
public:
    Stream(std::string_view text, std::size_t step) : rest{text}, piece{step} {}

    void send(std::string_view, const Deadline&) override {}
    std::size_t receive(char* buffer, std::size_t size, const Deadline&) override {
        const std::size_t count = std::min({size, piece, rest.size()});
        if (count == 0) {
            throw LinkError{"closed"};
        }
        rest.copy(buffer, count);
        rest.remove_prefix(count);
        return count;
    }
    int descriptor() const override { return -1; }

private:
    std::string_view rest;
    std::size_t piece;
};

template <typename Look>
void ask(Look look) {
    try {
        look();
    } catch (const LinkError&) {
    }
}

void walk(const ReplyView& view, int depth) {
    demand(depth < 16, "deeper than any answer");
    ask([&] { view.integer(); });
    ask([&] { view.id(); });
    ask([&] { demand(view.text().size() <= 65536, "longer than what was sent"); });
    ask([&] {
        for (std::size_t i = 0; i < view.size(); ++i) {
            walk(view.at(i), depth + 1);
        }
        view.at(view.size());
        demand(false, "an element behind the end");
    });
}

/// How many answers there are.
int answersOf(std::string_view text, std::size_t step) {
    RedisConnection connection{std::make_unique<Stream>(text, step)};
    const Deadline deadline = Deadline::in(std::chrono::seconds{1});
    for (int count = 0;; ++count) {
        try {
            const Reply reply = connection.receive(deadline);
            walk(reply.view(), 0);
        } catch (const ServerRefusal&) {
        } catch (const LinkError&) {
            return count;
        }
    }
}

} // namespace

VELK_FUZZER(redis_reply) {
    demand(answersOf(input, 65536) == answersOf(input, 3), "the pieces change the answers");
}
