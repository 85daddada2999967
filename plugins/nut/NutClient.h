#pragma once

#include "platform/common/Clock.h"
#include "plugins/nut/Connection.h"
#include "plugins/nut/Interrupt.h"
#include "plugins/nut/NutConfiguration.h"
#include "plugins/nut/VariableLimits.h"
#include "plugins/nut/Variables.h"

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace velk::nut {

/// How a command or a setting stands that the server keeps track of.
enum class TrackedOutcome { Pending, Done };

/// One session with the server, about the one device of the configuration.
///
/// Every operation that asks the server throws LinkError when the connection fails or the answer is none of
/// the protocol: then the session is over and a new one must be made. ServerError is an answer of the server
/// that leaves the session usable. A whole operation, however many lines it has, ends within the timeout.
/// Threads: one at a time.
class NutClient {
public:
    using Duration = velk::common::Clock::Duration;

    /// No list of a device is longer; a longer one comes from no device server.
    static constexpr std::size_t MAX_ROWS = 20000;

    /// Connects.
    NutClient(const NutConfiguration& settings, const Interrupt& stopped, velk::common::Clock& time,
              Duration requestTimeout);

    /// No operation from now on ends later than this, however many there are. At first there is no such end.
    void endBy(Duration moment) { latest = moment; }

    /// The names and values of all variables.
    Variables listVariables();
    /// The names of the variables that can be set.
    std::vector<std::string> listWritable();
    std::vector<std::string> listCommands();
    VariableLimits limitsOf(const std::string& variable);
    std::string get(const std::string& variable);

    /// Gives name and password. The server does not look at them before the first change.
    void login();

    /// Asks the server to follow what it hands on to drivers; false when it cannot.
    bool enableTracking();

    /// Sets a variable. Gives the identifier to ask `outcome` with, or an empty text without tracking, when
    /// the server only says that it handed the value on.
    std::string set(const std::string& variable, std::string_view value);
    /// Starts a command; `parameter` may be empty for none. Result as of `set`.
    std::string run(const std::string& command, const std::string& parameter);
    /// Throws ServerError when the driver refused.
    TrackedOutcome outcome(const std::string& tracking);

private:
    using Words = std::vector<std::string>;

    Duration deadline() const { return std::min(clock.now() + timeout, latest); }
    /// One request with an answer of one line.
    Words ask(const std::string& request);
    /// The rows of "LIST `what`", each without the words that it begins with.
    std::vector<Words> list(const std::string& kind, const std::string& variable);
    Words nextAnswer(Duration until);
    /// First and last of each.
    std::vector<std::pair<std::string, std::string>> rangesOf(const std::string& variable);
    std::string startTracked(const std::string& request);

    const NutConfiguration& configuration;
    velk::common::Clock& clock;
    const Duration timeout;
    Duration latest{Duration::max()};
    Connection connection;
};

} // namespace velk::nut
