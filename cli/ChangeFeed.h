#pragma once

#include "cli/ChangeQueue.h"
#include "cli/Session.h"

#include <cstdint>
#include <memory>
#include <signal.h>
#include <vector>

namespace velk::cli {

/// The writes of all programs to the store, from construction on, for a command that follows them until it is
/// interrupted. SIGINT and SIGTERM do not end the program meanwhile.
///
/// Threads: one; the program's other threads must have SIGINT and SIGTERM blocked.
class ChangeFeed {
public:
    /// `session` must outlive this object.
    explicit ChangeFeed(Session& session);
    ~ChangeFeed();
    ChangeFeed(const ChangeFeed&) = delete;
    ChangeFeed& operator=(const ChangeFeed&) = delete;

    /// Waits until something was written or it is `until`, which may be the end of all times. False when
    /// SIGINT or SIGTERM has come.
    bool wait(velk::common::Clock::Duration until);

    /// What has been written since the last call, in order.
    std::vector<tessapi::ChannelWrite> takeAll() { return queue->takeAll(); }

private:
    bool takeSignal() const;

    Session& session;
    std::shared_ptr<ChangeQueue> queue{std::make_shared<ChangeQueue>()};
    sigset_t before{};
    int signals{-1};
    std::uint64_t subscription{0};
};

/// The moment `seconds` from now; the end of all times for 0.
velk::common::Clock::Duration momentIn(const Session& session, double seconds);

} // namespace velk::cli
