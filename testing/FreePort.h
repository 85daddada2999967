#pragma once

#include <arpa/inet.h>
#include <cstdint>
#include <netinet/in.h>
#include <random>
#include <sys/socket.h>
#include <unistd.h>

namespace velk::testing {

/// A port of 127.0.0.1 that nobody listens on. It is none of those that the machine gives to outgoing
/// connections (from 32768 on), so a server can come back to it, and a client that tries meanwhile cannot be
/// connected to itself.
inline int freePort() {
    static constexpr int FIRST = 12'000;
    static constexpr int COUNT = 20'000;
    static int next = static_cast<int>(std::random_device{}() % COUNT);
    while (true) {
        next = (next + 1) % COUNT;
        const int trial = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(FIRST + next));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const bool isFree = bind(trial, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
        close(trial);
        if (isFree) {
            return FIRST + next;
        }
    }
}

} // namespace velk::testing
