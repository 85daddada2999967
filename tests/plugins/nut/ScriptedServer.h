#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "plugins/nut/Interrupt.h"

#include <arpa/inet.h>
#include <array>
#include <functional>
#include <list>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace velk::testing {

/// A device server on loopback that says what a test tells it to.
/// Threads: `respond` runs on the server's own thread; `requests` may come from any.
class ScriptedServer {
public:
    /// What to answer to a line. An empty text is silence; CLOSE at the end closes the connection.
    using Respond = std::function<std::string(const std::string& line)>;
    static constexpr char CLOSE = '\x01';

    explicit ScriptedServer(Respond answers) : respond{std::move(answers)}, listener{listen()} {
        thread = std::thread{[this] { run(); }};
    }
    ~ScriptedServer() {
        stopped.raise();
        thread.join();
        close(listener);
    }
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    std::uint16_t port() const {
        sockaddr_in address{};
        socklen_t length = sizeof address;
        getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
        return ntohs(address.sin_port);
    }

    std::vector<std::string> requests() const {
        const velk::common::MutexLock lock{mutex};
        return received;
    }

private:
    struct Client {
        int socket;
        std::string buffer;
    };

    static int listen() {
        const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address);
        ::listen(socket, 8);
        return socket;
    }

    void run() {
        for (;;) {
            std::vector<pollfd> entries{{stopped.descriptor(), POLLIN, 0}, {listener, POLLIN, 0}};
            for (const Client& client : clients) {
                entries.push_back({client.socket, POLLIN, 0});
            }
            poll(entries.data(), entries.size(), -1);
            if (entries[0].revents != 0) {
                break;
            }
            auto client = clients.begin();
            for (std::size_t at = 2; at < entries.size(); ++at) {
                if (entries[at].revents == 0 || serve(*client)) {
                    ++client;
                } else {
                    close(client->socket);
                    client = clients.erase(client);
                }
            }
            if (entries[1].revents != 0) {
                clients.push_back({accept4(listener, nullptr, nullptr, SOCK_CLOEXEC), {}});
            }
        }
        for (const Client& client : clients) {
            close(client.socket);
        }
    }

    /// False when the connection is over.
    bool serve(Client& client) {
        std::array<char, 4096> chunk{};
        const ssize_t length = recv(client.socket, chunk.data(), chunk.size(), 0);
        if (length <= 0) {
            return false;
        }
        client.buffer.append(chunk.data(), static_cast<std::size_t>(length));
        for (std::size_t end = client.buffer.find('\n'); end != std::string::npos;
             end = client.buffer.find('\n')) {
            const std::string line = client.buffer.substr(0, end);
            client.buffer.erase(0, end + 1);
            {
                const velk::common::MutexLock lock{mutex};
                received.push_back(line);
            }
            std::string answer = respond(line);
            const bool isLast = !answer.empty() && answer.back() == CLOSE;
            if (isLast) {
                answer.pop_back();
            }
            send(client.socket, answer.data(), answer.size(), MSG_NOSIGNAL);
            if (isLast) {
                return false;
            }
        }
        return true;
    }

    Respond respond;
    velk::nut::Interrupt stopped;
    int listener;
    std::list<Client> clients;
    mutable velk::common::Mutex mutex;
    std::vector<std::string> received VELK_GUARDED_BY(mutex);
    std::thread thread;
};

} // namespace velk::testing
