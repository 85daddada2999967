#pragma once

#include "platform/tessapi/network/ITransport.h"
#include "platform/tessapi/network/NetworkUrl.h"

#include <sys/socket.h>

namespace tessapi {

/// A Unix or TCP socket. Threads: one at a time.
class SocketTransport final : public ITransport {
public:
    /// Connects; of a host's addresses each one is tried with its share of the time.
    SocketTransport(const Endpoint& server, const Deadline& deadline);
    ~SocketTransport() override;
    SocketTransport(const SocketTransport&) = delete;
    SocketTransport& operator=(const SocketTransport&) = delete;

    void send(std::string_view bytes, const Deadline& deadline) override;
    std::size_t receive(char* buffer, std::size_t size, const Deadline& deadline) override;
    int descriptor() const override { return socket; }

private:
    void connectToPath(const std::string& path, const Deadline& deadline);
    void connectToHost(const Endpoint& server, const Deadline& deadline);
    /// Gives the errno of the failure, 0 when it worked.
    int tryConnect(int family, const sockaddr* address, socklen_t length, const Deadline& deadline);
    void close();
    /// Whether one of `events` came before the deadline.
    bool await(short events, const Deadline& deadline) const;

    int socket{-1};
};

} // namespace tessapi
