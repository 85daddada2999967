#include "daemon/SignalWatch.h"

#include <array>
#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace velk::daemon {

SignalWatch::SignalWatch() {
    sigset_t wanted;
    sigemptyset(&wanted);
    sigaddset(&wanted, SIGINT);
    sigaddset(&wanted, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &wanted, &before);
    signals = signalfd(-1, &wanted, SFD_CLOEXEC | SFD_NONBLOCK);
    event = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (signals < 0 || event < 0) {
        throw std::system_error{errno, std::generic_category(), "waiting for signals"};
    }
}

SignalWatch::~SignalWatch() {
    close(signals);
    close(event);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

std::optional<int> SignalWatch::next() {
    std::array<pollfd, 2> sources{{{signals, POLLIN, 0}, {event, POLLIN, 0}}};
    for (;;) {
        signalfd_siginfo info{};
        if (read(signals, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
            return static_cast<int>(info.ssi_signo);
        }
        if ((sources[1].revents & POLLIN) != 0) {
            return std::nullopt;
        }
        poll(sources.data(), sources.size(), -1);
    }
}

void SignalWatch::wake() {
    eventfd_write(event, 1);
}

std::string signalName(int signal) {
    switch (signal) {
    case SIGINT:
        return "SIGINT";
    case SIGTERM:
        return "SIGTERM";
    default:
        return "signal " + std::to_string(signal);
    }
}

} // namespace velk::daemon
