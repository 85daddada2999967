#include "platform/tessapi/network/SocketTransport.h"

#include "platform/common/AddressLookup.h"
#include "platform/tessapi/network/LinkError.h"

#include <cerrno>
#include <cstring>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>

namespace tessapi {

namespace {

std::string textOf(int error) {
    return error == ETIMEDOUT ? "no answer in time" : std::generic_category().message(error);
}

/// A socket without the option works too.
void setOption(int socket, int level, int option, int value) {
    [[maybe_unused]] const int result = setsockopt(socket, level, option, &value, sizeof value);
}

} // namespace

SocketTransport::SocketTransport(const Endpoint& server, const Deadline& deadline) {
    if (server.socket.empty()) {
        connectToHost(server, deadline);
    } else {
        connectToPath(server.socket, deadline);
    }
}

SocketTransport::~SocketTransport() {
    close();
}

void SocketTransport::close() {
    if (socket != -1) {
        ::close(socket);
        socket = -1;
    }
}

void SocketTransport::connectToPath(const std::string& path, const Deadline& deadline) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        throw LinkError{path + ": the path of a socket is at most " +
                        std::to_string(sizeof address.sun_path - 1) + " bytes long"};
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    const int error =
        tryConnect(AF_UNIX, reinterpret_cast<const sockaddr*>(&address), sizeof address, deadline);
    if (error != 0) {
        close();
        throw LinkError{path + ": " + textOf(error)};
    }
}

void SocketTransport::connectToHost(const Endpoint& server, const Deadline& deadline) {
    const velk::common::AddressLookup lookup{server.host, server.port,
                                             std::chrono::milliseconds{deadline.left()}};
    if (!lookup.failure().empty()) {
        throw LinkError{lookup.failure()};
    }
    int left = 0;
    for (const auto* address = lookup.first(); address != nullptr; address = address->ai_next) {
        ++left;
    }
    int error = EADDRNOTAVAIL;
    for (const auto* address = lookup.first(); address != nullptr; address = address->ai_next, --left) {
        const auto share = deadline.within(std::chrono::milliseconds{deadline.left() / left});
        error = tryConnect(address->ai_family, address->ai_addr, address->ai_addrlen, share);
        if (error == 0) {
            setOption(socket, IPPROTO_TCP, TCP_NODELAY, 1);
            // So that nobody on the way forgets a connection over which nothing goes for hours.
            setOption(socket, SOL_SOCKET, SO_KEEPALIVE, 1);
            setOption(socket, IPPROTO_TCP, TCP_KEEPIDLE, 60);
            return;
        }
    }
    close();
    throw LinkError{server.text() + ": " + textOf(error)};
}

int SocketTransport::tryConnect(int family, const sockaddr* address, socklen_t length,
                                const Deadline& deadline) {
    close();
    socket = ::socket(family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (socket == -1) {
        return errno;
    }
    if (::connect(socket, address, length) == 0) {
        return 0;
    }
    if (errno != EINPROGRESS) {
        return errno;
    }
    if (!await(POLLOUT, deadline)) {
        return ETIMEDOUT;
    }
    int error = 0;
    socklen_t size = sizeof error;
    return getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

bool SocketTransport::await(short events, const Deadline& deadline) const {
    pollfd entry{socket, events, 0};
    int result = 0;
    do {
        result = poll(&entry, 1, deadline.left());
    } while (result == -1 && errno == EINTR);
    return result > 0;
}

void SocketTransport::send(std::string_view bytes, const Deadline& deadline) {
    while (!bytes.empty()) {
        const auto sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            if (!await(POLLOUT, deadline)) {
                throw LinkError{"the server took nothing in time"};
            }
        } else if (errno != EINTR) {
            throw LinkError{"the connection broke: " + textOf(errno)};
        }
    }
}

std::size_t SocketTransport::receive(char* buffer, std::size_t size, const Deadline& deadline) {
    for (;;) {
        const auto received = ::recv(socket, buffer, size, 0);
        if (received > 0) {
            return static_cast<std::size_t>(received);
        }
        if (received == 0) {
            throw LinkError{"the server closed the connection"};
        }
        if (errno == EAGAIN || errno == EWOULDBLOCK) {
            if (!await(POLLIN, deadline)) {
                throw LinkError{"the server did not answer in time"};
            }
        } else if (errno != EINTR) {
            throw LinkError{"the connection broke: " + textOf(errno)};
        }
    }
}

} // namespace tessapi
