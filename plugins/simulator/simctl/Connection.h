#pragma once

#include "plugins/simulator/world/FileDescriptor.h"

#include <stdexcept>
#include <string>

namespace velk::simulator::simctl {

/// A line to the control socket of a simulator.
class Connection {
public:
    /// Throws std::runtime_error that names the socket and says what to do.
    explicit Connection(const std::string& path);

    /// Sends one line, whose end is added. Throws std::runtime_error.
    void send(const std::string& line);

    /// The next line without its end; waits for it. Throws std::runtime_error when the simulator ends.
    std::string receive();

private:
    FileDescriptor socket;
    std::string received;
};

} // namespace velk::simulator::simctl
