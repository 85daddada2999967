#pragma once

#include "platform/common/Mutex.h"
#include "powerdistribution/core/PowerDistributionManager.h"
#include "tests/scenarios/LineLog.h"
#include "tests/scenarios/Pace.h"

#include <atomic>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <thread>

namespace velk::scenarios {

/// The real library in this process: one manager at a time, its thread, its standard streams, and what it
/// tells of its writes to the device.
///
/// Threads: one, but for what the library calls.
class Life {
public:
    /// How a run ended.
    struct End {
        enum class Kind { Returned, Failed, FailedOddly };
        Kind kind{Kind::Returned};
        std::string text; ///< of the standard exception that left `exec`
    };

    /// Takes the standard streams and the variable TESS_URL for as long as it lives.
    explicit Life(const std::string& storeUrl);
    ~Life();
    Life(const Life&) = delete;
    Life& operator=(const Life&) = delete;

    /// Makes a manager and runs it; the one before must have ended.
    void start(const std::string& configuration);

    /// Asks for the end; does not wait for it.
    void exit() { manager->exit(); }

    /// Ends the run as fast as it can be, whatever it holds or waits for, and destroys the manager.
    void destroy();

    bool hasManager() const { return manager != nullptr; }
    std::uint32_t operatingStatus() const { return manager ? manager->operatingStatus() : 0; }

    /// How the run ended; empty while it goes on.
    std::optional<End> ending() const VELK_EXCLUDES(mutex);

    /// The oldest write to the device that was not taken yet.
    std::optional<velk::powerdistribution::DeviceWrite> takeWrite() VELK_EXCLUDES(mutex);
    void forgetWrites() VELK_EXCLUDES(mutex);

    /// Transitions that were printed and not taken yet: "DISCOVER to ENUMERATE".
    std::optional<std::string> takeTransition() VELK_EXCLUDES(mutex);
    /// All of them, for messages.
    std::string pendingTransitions() const VELK_EXCLUDES(mutex);
    void forgetTransitions() VELK_EXCLUDES(mutex);

private:
    bool hear(const std::string& line) VELK_EXCLUDES(mutex);
    void run(const std::string& configuration) VELK_EXCLUDES(mutex);

    mutable velk::common::Mutex mutex;
    std::deque<std::string> transitions VELK_GUARDED_BY(mutex);
    std::deque<velk::powerdistribution::DeviceWrite> writes VELK_GUARDED_BY(mutex);
    std::optional<End> end VELK_GUARDED_BY(mutex);
    std::atomic<bool> stopping{false}; ///< STOP was entered

public:
    Pace pace;
    LineLog output; ///< the standard output but for the transitions
    LineLog errors; ///< the standard error

private:
    std::unique_ptr<velk::powerdistribution::PowerDistributionManager> manager;
    std::thread runner;
};

} // namespace velk::scenarios
