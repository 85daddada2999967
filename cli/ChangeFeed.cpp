#include "cli/ChangeFeed.h"

#include "platform/tessapi/InBandAccessor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <poll.h>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace velk::cli {

using velk::common::Clock;

namespace {

sigset_t endingSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

/// Milliseconds for poll; -1 for ever.
int millisecondsLeft(const Clock& clock, Clock::Duration until) {
    if (until == Clock::Duration::max()) {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - clock.now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, 3'600'000));
}

} // namespace

ChangeFeed::ChangeFeed(Session& owner) : session{owner} {
    const sigset_t ending = endingSignals();
    signals = signalfd(-1, &ending, SFD_CLOEXEC | SFD_NONBLOCK);
    if (signals < 0) {
        throw std::system_error{errno, std::generic_category(), "signalfd"};
    }
    try {
        session.store.browser().subscribeAllChannels(
            [fed = queue](const tessapi::ChannelWrite& write) { fed->push(write); }, &subscription);
    } catch (...) {
        close(signals);
        throw;
    }
    pthread_sigmask(SIG_BLOCK, &ending, &before);
}

ChangeFeed::~ChangeFeed() {
    session.store.inbandAccessor().unsubscribe(subscription);
    close(signals);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

bool ChangeFeed::wait(Clock::Duration until) {
    std::array<pollfd, 2> sources{{{signals, POLLIN, 0}, {queue->descriptor(), POLLIN, 0}}};
    poll(sources.data(), sources.size(), millisecondsLeft(session.clock, until));
    return !takeSignal();
}

bool ChangeFeed::takeSignal() const {
    // It is consumed, or it would end the program as soon as it is no longer kept away.
    signalfd_siginfo info{};
    return read(signals, &info, sizeof info) == static_cast<ssize_t>(sizeof info);
}

Clock::Duration momentIn(const Session& session, double seconds) {
    if (seconds <= 0.0) {
        return Clock::Duration::max();
    }
    return session.clock.now() +
           std::chrono::duration_cast<Clock::Duration>(std::chrono::duration<double>{seconds});
}

} // namespace velk::cli
