#include "plugins/nut/Connection.h"

#include "platform/common/AddressLookup.h"
#include "plugins/nut/LinkError.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <list>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace velk::nut {

namespace {

std::string errorText(int number) {
    return std::generic_category().message(number);
}

void setFlag(int socket, int option) {
    const int on = 1;
    // Only speeds things up; a socket without the option works too.
    [[maybe_unused]] const int result = setsockopt(socket, IPPROTO_TCP, option, &on, sizeof on);
}

/// The one name that needs no resolver is both of its addresses.
std::vector<std::string> namesToLookUp(const std::string& host) {
    return host == "localhost" ? std::vector<std::string>{"127.0.0.1", "::1"} : std::vector{host};
}

} // namespace

Connection::Connection(const std::string& host, std::uint16_t port, const Interrupt& stopped,
                       velk::common::Clock& time, Duration deadline) :
    interrupt{stopped}, clock{time} {
    std::list<velk::common::AddressLookup> lookups;
    std::vector<const addrinfo*> addresses;
    for (const std::string& name : namesToLookUp(host)) {
        lookups.emplace_back(name, port, deadline - clock.now());
        if (!lookups.back().failure().empty()) {
            throw LinkError{lookups.back().failure()};
        }
        for (const addrinfo* address = lookups.back().first(); address != nullptr;
             address = address->ai_next) {
            addresses.push_back(address);
        }
    }
    connectToAny(addresses, deadline);
    setFlag(socket, TCP_NODELAY);
}

Connection::~Connection() {
    closeSocket();
}

void Connection::closeSocket() {
    if (socket != -1) {
        close(socket);
        socket = -1;
    }
}

void Connection::connectToAny(const std::vector<const addrinfo*>& addresses, Duration deadline) {
    std::string reason{"the host has no address"};
    auto remaining = static_cast<std::int64_t>(addresses.size());
    for (const addrinfo* address : addresses) {
        const Duration now = clock.now();
        if (tryConnect(*address, now + (deadline - now) / remaining, reason)) {
            return;
        }
        --remaining;
    }
    closeSocket();
    throw LinkError{"no connection: " + reason};
}

bool Connection::tryConnect(const addrinfo& address, Duration deadline, std::string& reason) {
    closeSocket();
    socket =
        ::socket(address.ai_family, address.ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, address.ai_protocol);
    if (socket == -1) {
        reason = errorText(errno);
        return false;
    }
    if (::connect(socket, address.ai_addr, address.ai_addrlen) == 0) {
        return true;
    }
    int failure = errno;
    if (failure == EINPROGRESS) {
        try {
            waitUntil(POLLOUT, deadline);
        } catch (const LinkError& timeout) {
            closeSocket();
            if (interrupt.isRaised()) {
                throw;
            }
            reason = timeout.what();
            return false;
        }
        socklen_t length = sizeof failure;
        getsockopt(socket, SOL_SOCKET, SO_ERROR, &failure, &length);
    }
    reason = errorText(failure);
    return failure == 0;
}

void Connection::send(std::string_view text, Duration deadline) {
    timeLeft(deadline); // what comes too late is better not sent
    while (!text.empty()) {
        const ssize_t sent = ::send(socket, text.data(), text.size(), MSG_NOSIGNAL);
        if (sent >= 0) {
            text.remove_prefix(static_cast<std::size_t>(sent));
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            waitUntil(POLLOUT, deadline);
        } else if (errno != EINTR) {
            throw LinkError{"the connection broke: " + errorText(errno)};
        }
    }
    acknowledgeAtOnce();
}

std::string Connection::readLine(Duration deadline) {
    std::size_t searched = 0;
    for (;;) {
        const std::size_t end = buffer.find('\n', searched);
        if (end != std::string::npos) {
            std::string line = buffer.substr(0, end);
            buffer.erase(0, end + 1);
            return line;
        }
        searched = buffer.size();
        if (searched > MAX_LINE) {
            throw LinkError{"the server's line does not end"};
        }
        receiveMore(deadline);
    }
}

void Connection::receiveMore(Duration deadline) {
    waitUntil(POLLIN, deadline);
    std::array<char, 16384> chunk{};
    const ssize_t received = recv(socket, chunk.data(), chunk.size(), 0);
    if (received == 0) {
        throw LinkError{"the server closed the connection"};
    }
    if (received < 0) {
        if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR) {
            return;
        }
        throw LinkError{"the connection broke: " + errorText(errno)};
    }
    buffer.append(chunk.data(), static_cast<std::size_t>(received));
    acknowledgeAtOnce();
}

void Connection::acknowledgeAtOnce() {
    // The server writes a list in many small pieces; with the usual delay of acknowledgements each pair of
    // them costs 40 ms. The option does not last, so it is set again and again.
    setFlag(socket, TCP_QUICKACK);
}

Connection::Duration Connection::timeLeft(Duration deadline) const {
    const Duration left = deadline - clock.now();
    if (left <= Duration::zero()) {
        throw LinkError{"the server did not answer in time"};
    }
    return left;
}

void Connection::waitUntil(short events, Duration deadline) {
    const Duration left = timeLeft(deadline);
    std::array<pollfd, 2> entries{{{socket, events, 0}, {interrupt.descriptor(), POLLIN, 0}}};
    const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(left).count();
    const int result =
        poll(entries.data(), entries.size(), static_cast<int>(std::min<std::int64_t>(milliseconds, 60000)));
    if (result == 0) {
        throw LinkError{"the server did not answer in time"};
    }
    if (entries[1].revents != 0) {
        throw LinkError{"stopped"};
    }
}

} // namespace velk::nut
