#include "plugins/simulator/simctl/Connection.h"

#include <array>
#include <cerrno>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <utility>

namespace velk::simulator::simctl {

namespace {

std::string advice(int code) {
    switch (code) {
    case ENOENT:
        return "there is no such socket; it is the member \"control\" of the simulator's configuration, and "
               "is there while "
               "the daemon runs";
    case ECONNREFUSED:
    case ENOTSOCK:
        return "nobody serves this socket; is the daemon with the simulator running?";
    case EACCES:
        return "only the user who runs the simulator may use this socket";
    default:
        return std::generic_category().message(code);
    }
}

} // namespace

Connection::Connection(const std::string& path) : socket{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)} {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        throw std::runtime_error{path + ": the path is too long for a socket"};
    }
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    if (connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throw std::runtime_error{path + ": " + advice(errno)};
    }
}

void Connection::send(const std::string& line) {
    std::string left = line + "\n";
    while (!left.empty()) {
        const ssize_t size = ::send(socket.get(), left.data(), left.size(), MSG_NOSIGNAL);
        if (size < 0 && errno != EINTR) {
            throw std::runtime_error{std::string{"the simulator does not listen any more: "} +
                                     std::generic_category().message(errno)};
        }
        left.erase(0, size < 0 ? 0 : static_cast<std::size_t>(size));
    }
}

std::string Connection::receive() {
    for (;;) {
        const std::size_t end = received.find('\n');
        if (end != std::string::npos) {
            std::string line = received.substr(0, end);
            received.erase(0, end + 1);
            return line;
        }
        std::array<char, 65536> buffer{};
        const ssize_t size = recv(socket.get(), buffer.data(), buffer.size(), 0);
        if (size == 0 || (size < 0 && errno != EINTR)) {
            throw std::runtime_error{"the simulator has ended"};
        }
        received.append(buffer.data(), size < 0 ? 0 : static_cast<std::size_t>(size));
    }
}

} // namespace velk::simulator::simctl
