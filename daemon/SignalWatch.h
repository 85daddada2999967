#pragma once

#include <csignal>
#include <optional>
#include <string>

namespace velk::daemon {

/// Waits for SIGINT and SIGTERM on a thread instead of being interrupted by them. Make it before any other
/// thread, so that all threads leave the signals to it.
/// Threads: `next` on one thread, `wake` from any.
class SignalWatch {
public:
    /// Throws std::system_error when the machine has no descriptor left.
    SignalWatch();
    ~SignalWatch();
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;

    /// Waits for a signal and gives its number; empty once `wake` has been called and no signal is there.
    std::optional<int> next();

    /// Ends the present or next wait.
    void wake();

private:
    sigset_t before{};
    int signals{-1};
    int event{-1};
};

/// "SIGINT", "SIGTERM", else "signal 5".
std::string signalName(int signal);

} // namespace velk::daemon
