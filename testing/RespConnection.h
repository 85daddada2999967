#pragma once

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <netinet/in.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace velk::testing {

/// A blocking conversation with a Redis server, as small as a test needs it.
///
/// Example:
///     RespConnection{7001}.command({"CLUSTER", "MEET", "127.0.0.1", "7002"});
///
/// Threads: one.
class RespConnection {
public:
    /// A connection over TCP to 127.0.0.1.
    explicit RespConnection(int port) : handle{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)} {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        connectTo(reinterpret_cast<const sockaddr*>(&address), sizeof address);
    }
    explicit RespConnection(const std::filesystem::path& socket) :
        handle{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)} {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        socket.native().copy(static_cast<char*>(address.sun_path), sizeof address.sun_path - 1);
        connectTo(reinterpret_cast<const sockaddr*>(&address), sizeof address);
    }
    ~RespConnection() { close(handle); }
    RespConnection(const RespConnection&) = delete;
    RespConnection& operator=(const RespConnection&) = delete;

    /// The answer as text: the elements of an array a line each, nothing for null. Throws std::runtime_error
    /// with the server's text for an error, std::system_error when nothing comes for ten seconds.
    std::string command(const std::vector<std::string>& words) {
        std::string request = "*" + std::to_string(words.size()) + "\r\n";
        for (const std::string& word : words) {
            request += "$" + std::to_string(word.size()) + "\r\n" + word + "\r\n";
        }
        if (send(handle, request.data(), request.size(), MSG_NOSIGNAL) !=
            static_cast<ssize_t>(request.size())) {
            throw std::system_error{errno, std::generic_category(), "sending to the server"};
        }
        return readReply();
    }

private:
    static constexpr timeval PATIENCE{10, 0};

    void connectTo(const sockaddr* address, socklen_t length) {
        setsockopt(handle, SOL_SOCKET, SO_RCVTIMEO, &PATIENCE, sizeof PATIENCE);
        if (connect(handle, address, length) != 0) {
            const int error = errno;
            close(handle);
            throw std::system_error{error, std::generic_category(), "connecting to the server"};
        }
    }

    std::string readReply() {
        const std::string line = readLine();
        const std::string rest = line.substr(1);
        switch (line[0]) {
        case '-':
            throw std::runtime_error{rest};
        case '$':
            return rest == "-1" ? std::string{} : readBytes(std::stoul(rest));
        case '*':
            return rest == "-1" ? std::string{} : readLines(std::stoul(rest));
        default:
            return rest;
        }
    }

    std::string readLines(std::size_t count) {
        std::string result;
        for (std::size_t i = 0; i < count; ++i) {
            result += (i == 0 ? "" : "\n") + readReply();
        }
        return result;
    }

    std::string readLine() {
        std::size_t end = received.find("\r\n");
        while (end == std::string::npos) {
            receive();
            end = received.find("\r\n");
        }
        std::string line = received.substr(0, end);
        received.erase(0, end + 2);
        return line;
    }

    std::string readBytes(std::size_t count) {
        while (received.size() < count + 2) {
            receive();
        }
        std::string bytes = received.substr(0, count);
        received.erase(0, count + 2);
        return bytes;
    }

    void receive() {
        std::array<char, 65536> chunk{};
        const ssize_t count = recv(handle, chunk.data(), chunk.size(), 0);
        if (count <= 0) {
            throw std::system_error{count == 0 ? ECONNRESET : errno, std::generic_category(),
                                    "reading from the server"};
        }
        received.append(chunk.data(), static_cast<std::size_t>(count));
    }

    int handle;
    std::string received;
};

} // namespace velk::testing
