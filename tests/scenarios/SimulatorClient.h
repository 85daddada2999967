#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

namespace velk::scenarios {

/// What went wrong on the way to the simulated device.
class SimulatorFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The control socket of a simulated device: a command a line, an answer a line.
/// Threads: one.
class SimulatorClient {
public:
    /// `noMore` says that no device will come to the socket any more.
    SimulatorClient(std::string socketPath, std::function<bool()> noMore) :
        path{std::move(socketPath)}, isGone{std::move(noMore)} {}
    ~SimulatorClient() { close(); }
    SimulatorClient(const SimulatorClient&) = delete;
    SimulatorClient& operator=(const SimulatorClient&) = delete;

    /// Sends the command, a JSON object, and gives the answer as it came. Connects first, and waits for the
    /// socket to be there. Throws `SimulatorFailure` when there is no answer within half a minute.
    std::string ask(const std::string& command);

    /// The device is about to go: the next `ask` connects anew.
    void close();

private:
    void connect();
    void send(const std::string& line);
    std::string receiveLine();

    const std::string path;
    const std::function<bool()> isGone;
    int handle{-1};
    std::string received; ///< behind the line given last
};

} // namespace velk::scenarios
