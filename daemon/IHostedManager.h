#pragma once

#include <cstdint>

namespace velk::daemon {

/// What the supervisor asks of the manager that it runs: one run, ended from another thread.
class IHostedManager {
public:
    virtual ~IHostedManager() = default;

    /// Returns when the device has been let go; may throw anything. Called once.
    virtual void exec() = 0;

    /// Asks for the end of `exec`. Does nothing while `operatingStatus` is 0.
    virtual void exit() = 0;

    /// 0 until `exec` can be ended.
    virtual std::uint32_t operatingStatus() const = 0;
};

} // namespace velk::daemon
