#pragma once

#include "platform/common/Clock.h"
#include "plugins/nut/Interrupt.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct addrinfo;

namespace velk::nut {

/// One stream connection that never waits longer than it is told. Every operation has a deadline, a time of
/// the clock; a wait that reaches it, an interrupt and a closed connection throw LinkError.
/// Threads: one at a time; the interrupt from any.
class Connection {
public:
    using Duration = velk::common::Clock::Duration;

    /// A line longer than this is no answer of a device server.
    static constexpr std::size_t MAX_LINE = 65536;

    /// Connects; tries every address of `host` in turn, each with its share of the time left.
    Connection(const std::string& host, std::uint16_t port, const Interrupt& stopped,
               velk::common::Clock& time, Duration deadline);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void send(std::string_view text, Duration deadline);

    /// The next line without its end.
    std::string readLine(Duration deadline);

private:
    void connectToAny(const std::vector<const addrinfo*>& addresses, Duration deadline);
    bool tryConnect(const addrinfo& address, Duration deadline, std::string& reason);
    void receiveMore(Duration deadline);
    void acknowledgeAtOnce();
    /// The time left, which is more than none.
    Duration timeLeft(Duration deadline) const;
    void waitUntil(short events, Duration deadline);
    void closeSocket();

    const Interrupt& interrupt;
    velk::common::Clock& clock;
    int socket{-1};
    std::string buffer; ///< received and not yet handed out
};

} // namespace velk::nut
