#pragma once

#include "platform/common/Clock.h"
#include "plugins/nut/Interrupt.h"
#include "plugins/nut/NutClient.h"
#include "plugins/nut/NutConfiguration.h"

#include <functional>
#include <memory>
#include <string>

namespace velk::nut {

/// Changes the device: sets variables and starts commands, and waits until it is known what came of it.
///
/// Every change has a session of its own, so that none is ever sent twice because an idle session turned out
/// to be gone. A change that was refused, or of which nothing became known in time, throws
/// std::runtime_error with a reason for people.
/// Threads: any, several at once.
class Commander {
public:
    using Duration = velk::common::Clock::Duration;
    /// Tells of the text of a variable just before a change, and of the one now, whether the change has
    /// arrived.
    using Arrival = std::function<bool(const std::string& before, const std::string& now)>;

    /// How long one change may take, from the connection to the new value.
    static constexpr Duration TIMEOUT = std::chrono::seconds{5};

    Commander(const NutConfiguration& settings, const Interrupt& stopped, velk::common::Clock& time,
              Duration changeTimeout = TIMEOUT);

    /// Sets `variable` and reads it again until the change has arrived; gives its text then.
    std::string set(const std::string& variable, const std::string& value, const Arrival& hasArrived);

    /// Starts a command; `parameter` may be empty for none.
    void run(const std::string& command, const std::string& parameter);

    /// Starts a command that changes `variable` and reads that until the change has arrived.
    std::string run(const std::string& command, const std::string& variable, const Arrival& hasArrived);

private:
    /// A session that may change the device and ends at the deadline.
    std::unique_ptr<NutClient> connect(Duration deadline);
    void awaitOutcome(NutClient& client, const std::string& tracking, Duration deadline);
    std::string awaitArrival(NutClient& client, const std::string& variable, const std::string& before,
                             const Arrival& hasArrived, Duration deadline);
    void pauseUntilNextLook(Duration deadline, const std::string& awaited);

    const NutConfiguration& configuration;
    const Interrupt& interrupt;
    velk::common::Clock& clock;
    const Duration timeout;
};

} // namespace velk::nut
