#include "cli/WatchCommand.h"

#include "cli/ChangeQueue.h"
#include "cli/Watcher.h"
#include "platform/tessapi/InBandAccessor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <memory>
#include <poll.h>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace velk::cli {

namespace {

using velk::common::Clock;

/// Becomes readable at SIGINT and SIGTERM, which it keeps from ending the program.
class EndSignals {
public:
    EndSignals() {
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGINT);
        sigaddset(&signals, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &signals, &before);
        descriptor = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
        if (descriptor < 0) {
            throw std::system_error{errno, std::generic_category(), "signalfd"};
        }
    }
    ~EndSignals() {
        close(descriptor);
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;

    /// Whether one has come. It is consumed, or it would end the program as soon as it is no longer kept
    /// away.
    bool take() const {
        signalfd_siginfo info{};
        return read(descriptor, &info, sizeof info) == static_cast<ssize_t>(sizeof info);
    }

    int descriptor{-1};

private:
    sigset_t before{};
};

/// Ends the subscription before the queue that it feeds goes.
class Subscription {
public:
    Subscription(tessapi::ITessAccessor& tess, const std::shared_ptr<ChangeQueue>& queue) : store{tess} {
        store.browser().subscribeAllChannels(
            [queue](const tessapi::ChannelWrite& write) { queue->push(write); }, &id);
    }
    ~Subscription() { store.inbandAccessor().unsubscribe(id); }
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;

private:
    tessapi::ITessAccessor& store;
    std::uint64_t id{0};
};

/// Milliseconds for poll until `deadline`; -1 for ever when there is none.
int millisecondsLeft(const Clock& clock, Clock::Duration deadline) {
    if (deadline == Clock::Duration::max()) {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - clock.now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, 3'600'000));
}

} // namespace

ExitCode runWatch(Session& session, const WatchOptions& options) {
    const auto queue = std::make_shared<ChangeQueue>();
    const EndSignals signals;
    const Subscription subscription{session.store, queue};
    Watcher watcher{session, options};
    session.err << "tess: watching " << session.store.browser().url() << "; Ctrl-C ends it\n" << std::flush;
    const Clock::Duration deadline =
        options.seconds > 0.0
            ? session.clock.now() +
                  std::chrono::duration_cast<Clock::Duration>(std::chrono::duration<double>{options.seconds})
            : Clock::Duration::max();
    std::uint64_t lines = 0;
    std::array<pollfd, 2> sources{{{signals.descriptor, POLLIN, 0}, {queue->descriptor(), POLLIN, 0}}};
    for (;;) {
        const int left = millisecondsLeft(session.clock, deadline);
        if (left == 0) {
            return ExitCode::Done;
        }
        poll(sources.data(), sources.size(), left);
        for (const tessapi::ChannelWrite& write : queue->takeAll()) {
            lines += watcher.show(write) ? 1 : 0;
            if (options.count != 0 && lines == options.count) {
                return ExitCode::Done;
            }
        }
        if (signals.take()) {
            return ExitCode::Done;
        }
    }
}

} // namespace velk::cli
