#pragma once

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <netinet/in.h>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace velk::testing {

/// A server on 127.0.0.1 that takes commands in the protocol of Redis and answers as the test says, also what
/// no server would.
///
/// Example:
///     ScriptedServer server{[](const auto& words) { return words.at(0) == "PING" ? "+PONG\r\n" : "?"; }};
///
/// Threads: `answer` is called by one of its own, for one command after the other.
class ScriptedServer {
public:
    using Words = std::vector<std::string>;
    /// The bytes of the answer; the connection is closed instead of an empty one.
    using Answer = std::function<std::string(const Words&)>;

    explicit ScriptedServer(Answer wanted) :
        answer{std::move(wanted)},
        door{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)},
        ending{eventfd(0, EFD_CLOEXEC)} {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        if (bind(door, reinterpret_cast<const sockaddr*>(&address), size) != 0 || listen(door, 16) != 0 ||
            getsockname(door, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
            throw std::system_error{errno, std::generic_category(), "a server of a test"};
        }
        port = ntohs(address.sin_port);
        thread = std::thread{[this] { run(); }};
    }
    ~ScriptedServer() {
        const std::uint64_t one = 1;
        [[maybe_unused]] const auto written = write(ending, &one, sizeof one);
        thread.join();
        for (const auto& [talk, _] : received) {
            close(talk);
        }
        close(ending);
        close(door);
    }
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    /// "127.0.0.1:PORT".
    std::string address() const { return "127.0.0.1:" + std::to_string(port); }

private:
    void run() {
        for (;;) {
            std::vector<pollfd> entries{{ending, POLLIN, 0}, {door, POLLIN, 0}};
            for (const auto& [talk, _] : received) {
                entries.push_back({talk, POLLIN, 0});
            }
            poll(entries.data(), entries.size(), -1);
            if (entries[0].revents != 0) {
                return;
            }
            for (std::size_t i = 2; i < entries.size(); ++i) {
                if (entries[i].revents != 0 && !serve(entries[i].fd)) {
                    close(entries[i].fd);
                    received.erase(entries[i].fd);
                }
            }
            if (entries[1].revents != 0) {
                received.emplace(accept4(door, nullptr, nullptr, SOCK_CLOEXEC), "");
            }
        }
    }

    bool serve(int talk) {
        std::array<char, 4096> chunk{};
        const auto size = recv(talk, chunk.data(), chunk.size(), 0);
        if (size <= 0) {
            return false;
        }
        auto& bytes = received[talk];
        bytes.append(chunk.data(), static_cast<std::size_t>(size));
        while (const auto words = takeCommand(bytes)) {
            const auto reply = answer(*words);
            if (reply.empty() || send(talk, reply.data(), reply.size(), MSG_NOSIGNAL) < 0) {
                return false;
            }
        }
        return true;
    }

    /// "*2\r\n$3\r\nGET\r\n$1\r\na\r\n"; nothing while it is not there as a whole.
    static std::optional<Words> takeCommand(std::string& bytes) {
        std::size_t place = 0;
        const auto number = [&]() -> std::optional<std::size_t> {
            const auto end = bytes.find("\r\n", place);
            if (end == std::string::npos) {
                return std::nullopt;
            }
            const auto digits = bytes.substr(place + 1, end - place - 1);
            place = end + 2;
            return std::stoul(digits);
        };
        const auto count = number();
        Words words;
        while (count && words.size() < *count) {
            const auto size = number();
            if (!size || bytes.size() < place + *size + 2) {
                return std::nullopt;
            }
            words.push_back(bytes.substr(place, *size));
            place += *size + 2;
        }
        if (!count) {
            return std::nullopt;
        }
        bytes.erase(0, place);
        return words;
    }

    const Answer answer;
    const int door;
    const int ending;
    int port{0};
    std::map<int, std::string> received; ///< of each connection, what was not answered yet
    std::thread thread;
};

} // namespace velk::testing
