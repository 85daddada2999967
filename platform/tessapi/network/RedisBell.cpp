#include "platform/tessapi/network/RedisBell.h"

#include "platform/tessapi/network/LinkError.h"

#include <boost/system/system_error.hpp>

#include <array>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace tessapi {

namespace {

using velk::common::MutexLock;

/// How long the server waits for changes before it says that there are none: by its silence after that a
/// connection is known to be dead.
constexpr std::chrono::milliseconds SERVER_WAIT{5000};
constexpr std::size_t ENTRIES_AT_A_TIME = 64;

} // namespace

RedisBell::RedisBell(RedisLink& server) : link{server}, signalled{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)} {}

RedisBell::~RedisBell() {
    close(signalled);
}

void RedisBell::signal() {
    signals.fetch_add(1);
    const std::uint64_t one = 1;
    // It fails only when it is readable already.
    [[maybe_unused]] const auto written = write(signalled, &one, sizeof one);
}

void RedisBell::drainSignals() const {
    std::uint64_t count = 0;
    [[maybe_unused]] const auto taken = read(signalled, &count, sizeof count);
}

void RedisBell::pause(std::chrono::milliseconds longest) const {
    pollfd entry{signalled, POLLIN, 0};
    poll(&entry, 1, static_cast<int>(longest.count()));
}

void RedisBell::wait(Ticket taken, std::chrono::milliseconds longest) {
    if (signals != taken) {
        return;
    }
    if (!mutex.try_lock()) {
        pause(longest);
        return;
    }
    try {
        listen(longest);
    } catch (const std::exception&) {
        // The server is away, or the store is gone: whoever asks for the changes is told.
        connection.reset();
        askedFrom = -1;
        quietAt = -1;
        pause(longest);
    }
    drainSignals();
    mutex.unlock();
}

void RedisBell::listen(std::chrono::milliseconds longest) {
    if (position < 0 || link.isAway()) {
        connection.reset();
        askedFrom = -1;
        pause(longest);
        return;
    }
    if (!connection || generation != link.generation()) {
        generation = link.generation();
        connection = link.another();
        isTrusted = false;
        askedFrom = -1;
    }
    if (askedFrom < 0) {
        ask();
    }
    std::array<pollfd, 2> entries{{{connection->descriptor(), POLLIN, 0}, {signalled, POLLIN, 0}}};
    poll(entries.data(), entries.size(), static_cast<int>(longest.count()));
    if (entries[0].revents != 0) {
        take();
    } else if (std::chrono::steady_clock::now() > askedAt + SERVER_WAIT + link.patience) {
        throw LinkError{"the server did not answer in time"};
    } else if (isTrusted && askedFrom <= position) {
        quietAt = position;
    }
}

void RedisBell::ask() {
    Command command{"XREAD", "COUNT"};
    command.add(std::uint64_t{ENTRIES_AT_A_TIME}).add("BLOCK").add(std::int64_t{SERVER_WAIT.count()});
    command.add("STREAMS").add(link.keys.news).add(std::to_string(position) + "-0");
    connection->send(command, Deadline::in(link.patience));
    askedFrom = position;
    askedAt = std::chrono::steady_clock::now();
}

void RedisBell::take() {
    const auto answer = connection->receive(Deadline::in(link.patience));
    askedFrom = -1;
    if (answer.view().isNil()) {
        isTrusted = true;
        return;
    }
    const auto entries = answer.view().at(0).at(1);
    auto items = NewsFeed::itemsOf(entries);
    isTrusted = true;
    quietAt = entries.size() < ENTRIES_AT_A_TIME && !items.empty() ? items.back().change.seq : -1;
    feed.add(std::move(items));
}

std::optional<std::vector<NewsItem>> RedisBell::changesAfter(std::int64_t seq, std::size_t limit) {
    MutexLock lock{mutex};
    position = seq;
    auto items = feed.takeAfter(seq, limit);
    const bool isQuiet = quietAt == seq;
    if (!items.empty()) {
        position = items.back().change.seq;
        return items;
    }
    quietAt = -1;
    return isQuiet ? std::optional{std::move(items)} : std::nullopt;
}

} // namespace tessapi
