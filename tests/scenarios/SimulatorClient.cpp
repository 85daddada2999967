#include "tests/scenarios/SimulatorClient.h"

#include "tests/scenarios/Pace.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace velk::scenarios {

namespace {

constexpr int PATIENCE_MS = 30'000;

std::string reason() {
    return std::strerror(errno);
}

bool tryToConnect(int handle, const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        throw SimulatorFailure{"the path of the control socket is too long: " + path};
    }
    std::copy(path.begin(), path.end(), address.sun_path);
    return ::connect(handle, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

} // namespace

std::string SimulatorClient::ask(const std::string& command) {
    std::string line{command};
    std::replace(line.begin(), line.end(), '\n', ' '); // no string of JSON holds a line end
    if (handle < 0) {
        connect();
    }
    send(line + "\n");
    return receiveLine();
}

void SimulatorClient::close() {
    if (handle >= 0) {
        ::close(handle);
    }
    handle = -1;
    received.clear();
}

void SimulatorClient::connect() {
    const auto deadline = std::chrono::steady_clock::now() + Pace::PATIENCE;
    for (;;) {
        handle = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (handle < 0) {
            throw SimulatorFailure{"no socket: " + reason()};
        }
        if (tryToConnect(handle, path)) {
            return;
        }
        const std::string why = reason();
        close();
        if (isGone() || std::chrono::steady_clock::now() > deadline) {
            throw SimulatorFailure{"cannot reach the simulator at " + path + ": " + why};
        }
        std::this_thread::sleep_for(std::chrono::milliseconds{1});
    }
}

void SimulatorClient::send(const std::string& line) {
    for (std::size_t sent = 0; sent < line.size();) {
        const ssize_t count = ::send(handle, line.data() + sent, line.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) {
            const std::string why = reason();
            close();
            throw SimulatorFailure{"the simulator takes no command: " + why};
        }
        sent += static_cast<std::size_t>(count);
    }
}

std::string SimulatorClient::receiveLine() {
    for (;;) {
        if (const auto end = received.find('\n'); end != std::string::npos) {
            const std::string line = received.substr(0, end);
            received.erase(0, end + 1);
            return line;
        }
        pollfd waiting{handle, POLLIN, 0};
        char chunk[16384];
        const ssize_t count =
            ::poll(&waiting, 1, PATIENCE_MS) == 1 ? ::recv(handle, chunk, sizeof chunk, 0) : -1;
        if (count <= 0) {
            close();
            throw SimulatorFailure{count == 0 ? "the simulator has closed the connection"
                                              : "the simulator does not answer"};
        }
        received.append(chunk, static_cast<std::size_t>(count));
    }
}

} // namespace velk::scenarios
