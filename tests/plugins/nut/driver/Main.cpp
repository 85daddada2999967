// A driver for tests: the real server serves whatever variables, limits and commands its file tells, and the
// test moves them through a second socket, STATEPATH/NAME.control, a line and an answer at a time. The line
// "HANG" stops the driver in its tracks until it is killed.
//
// Usage: nut-testdriver STATEPATH NAME FILE

#include "tests/plugins/nut/driver/SimulatedDevice.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <list>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace {

int listenOn(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        throw std::runtime_error{path + " is too long for a socket"};
    }
    std::strcpy(address.sun_path, path.c_str());
    unlink(path.c_str());
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (listener == -1 || bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) == -1 ||
        chmod(path.c_str(), 0660) == -1 || listen(listener, 8) == -1) {
        throw std::runtime_error{path + ": " + std::strerror(errno)};
    }
    return listener;
}

struct Client {
    int socket;
    bool isServer; ///< otherwise the test
    std::string buffer;
};

class Driver {
public:
    Driver(const std::string& statePath, const std::string& name, const std::string& file) :
        device{file},
        servers{listenOn(statePath + "/nut-testdriver-" + name)},
        tests{listenOn(statePath + "/" + name + ".control")} {}

    [[noreturn]] void run() {
        for (;;) {
            std::vector<pollfd> entries{{servers, POLLIN, 0}, {tests, POLLIN, 0}};
            for (const Client& client : clients) {
                entries.push_back({client.socket, POLLIN, 0});
            }
            poll(entries.data(), entries.size(), -1);
            auto client = clients.begin();
            for (std::size_t at = 2; at < entries.size(); ++at) {
                client = entries[at].revents == 0 || serve(*client) ? std::next(client) : drop(client);
            }
            for (const std::size_t at : {0, 1}) {
                if (entries[at].revents != 0) {
                    clients.push_back({accept(entries[at].fd, nullptr, nullptr), at == 0, {}});
                }
            }
        }
    }

private:
    std::list<Client>::iterator drop(std::list<Client>::iterator client) {
        close(client->socket);
        return clients.erase(client);
    }

    /// False when the other side has gone.
    bool serve(Client& client) {
        std::array<char, 4096> chunk{};
        const ssize_t received = recv(client.socket, chunk.data(), chunk.size(), 0);
        if (received <= 0) {
            return false;
        }
        client.buffer.append(chunk.data(), static_cast<std::size_t>(received));
        for (std::size_t end = client.buffer.find('\n'); end != std::string::npos;
             end = client.buffer.find('\n')) {
            const std::string line = client.buffer.substr(0, end);
            client.buffer.erase(0, end + 1);
            handle(client, line);
        }
        return true;
    }

    void handle(const Client& client, const std::string& line) {
        std::string news;
        if (client.isServer) {
            const std::string answer = device.answer(line, news);
            // The server learns the value before it hears that the change is done.
            tellServers(news);
            send(client.socket, answer);
            return;
        }
        if (line == "HANG") {
            send(client.socket, "done\n");
            for (;;) {
                pause();
            }
        }
        const std::string answer = device.control(line, news) + "\n";
        tellServers(news);
        send(client.socket, answer);
    }

    void tellServers(const std::string& news) {
        for (const Client& client : clients) {
            if (client.isServer) {
                send(client.socket, news);
            }
        }
    }

    static void send(int socket, const std::string& text) {
        std::size_t done = 0;
        while (done < text.size()) {
            const ssize_t sent = ::send(socket, text.data() + done, text.size() - done, MSG_NOSIGNAL);
            if (sent <= 0) {
                return; // the other side has gone; its end shows at the next look
            }
            done += static_cast<std::size_t>(sent);
        }
    }

    velk::testing::SimulatedDevice device;
    int servers;
    int tests;
    std::list<Client> clients;
};

} // namespace

int main(int count, char** arguments) {
    if (count != 4) {
        std::cerr << "usage: nut-testdriver STATEPATH NAME FILE\n";
        return 2;
    }
    try {
        Driver{arguments[1], arguments[2], arguments[3]}.run();
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << "\n";
        return 1;
    }
}
