#include "plugins/simulator/world/ControlServer.h"

#include "platform/common/lwjson/JsonError.h"
#include "plugins/simulator/world/JsonText.h"

#include <array>
#include <cerrno>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <system_error>
#include <utility>
#include <vector>

namespace velk::simulator {

using velk::common::lwjson::Deserializer;
using velk::common::lwjson::JsonError;

namespace {

[[noreturn]] void fail(const std::string& path, const std::string& reason) {
    throw std::runtime_error{path + ": " + reason};
}

[[noreturn]] void failForErrno(const std::string& path) {
    fail(path, std::generic_category().message(errno));
}

sockaddr_un addressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        fail(path, "the path is too long for a socket");
    }
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

const sockaddr* generic(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

FileDescriptor newSocket(const std::string& path) {
    FileDescriptor created{socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)};
    if (!created.isOpen()) {
        failForErrno(path);
    }
    return created;
}

/// A socket that may not be asked counts as served: it is somebody else's.
bool isServed(const std::string& path, const sockaddr_un& address) {
    const FileDescriptor probe = newSocket(path);
    return connect(probe.get(), generic(address), sizeof address) == 0 || errno != ECONNREFUSED;
}

/// Whether what lies at the path is a socket of somebody who is gone.
bool isLeftOver(const std::string& path, const sockaddr_un& address) {
    struct stat found {};
    return lstat(path.c_str(), &found) == 0 && S_ISSOCK(found.st_mode) && !isServed(path, address);
}

FileDescriptor listenAt(const std::string& path) {
    const sockaddr_un address = addressOf(path);
    FileDescriptor listener = newSocket(path);
    if (isLeftOver(path, address)) {
        unlink(path.c_str());
    }
    if (bind(listener.get(), generic(address), sizeof address) != 0) {
        if (errno == EADDRINUSE) {
            fail(path, "is there already; another simulator may be using it");
        }
        failForErrno(path);
    }
    // Whoever may talk to the device may also break it: the owner alone.
    if (chmod(path.c_str(), S_IRUSR | S_IWUSR) != 0 || listen(listener.get(), SOMAXCONN) != 0) {
        const int reason = errno;
        unlink(path.c_str());
        fail(path, std::generic_category().message(reason));
    }
    return listener;
}

std::string failure(const std::string& reason) {
    return R"({"ok":false,"error":)" + jsonText(reason) + "}\n";
}

} // namespace

ControlServer::ControlServer(const std::string& path, Simulation& served) :
    file{path}, simulation{served}, listener{listenAt(path)}, wakeUp{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)} {
    try {
        if (!wakeUp.isOpen()) {
            throw std::runtime_error{"no more files can be opened"};
        }
        thread = std::thread{[this] { run(); }};
    } catch (const std::exception& reason) {
        unlink(path.c_str());
        fail(path, reason.what());
    }
    simulation.headlines().listen([this] { wake(); });
    wake(); // for what was said in between
}

ControlServer::~ControlServer() {
    simulation.headlines().listen({});
    stopping = true;
    wake();
    thread.join();
    unlink(file.c_str());
}

void ControlServer::wake() const {
    // A full counter wakes as well as one that was just written.
    [[maybe_unused]] const int result = eventfd_write(wakeUp.get(), 1);
}

void ControlServer::run() {
    while (awaitEvents()) {
        for (auto client = clients.begin(); client != clients.end();) {
            if (client->isFollowing) {
                client->nextHeadline = simulation.headlines().append(client->nextHeadline, client->unsent);
            }
            send(*client);
            if (client->hasMoreLines && client->unsent.empty()) {
                takeLines(*client);
            }
            const bool isDone = client->isLeaving && client->unsent.empty();
            client = isDone || !client->socket.isOpen() ? clients.erase(client) : std::next(client);
        }
    }
}

/// Waits, and receives what has come; false when it is time to stop.
bool ControlServer::awaitEvents() {
    std::vector<pollfd> entries{{wakeUp.get(), POLLIN, 0}, {listener.get(), POLLIN, 0}};
    for (const Client& client : clients) {
        const bool isReading = !client.isLeaving && !client.hasMoreLines;
        entries.push_back(
            {client.socket.get(),
             static_cast<short>((isReading ? POLLIN : 0) | (client.unsent.empty() ? 0 : POLLOUT)), 0});
    }
    if (poll(entries.data(), entries.size(), -1) < 0 && errno != EINTR) {
        return false;
    }
    if (stopping) {
        return false;
    }
    std::uint64_t ignored{0};
    [[maybe_unused]] const int result = eventfd_read(wakeUp.get(), &ignored);
    auto entry = entries.begin() + 2;
    for (Client& client : clients) {
        const short events = (entry++)->revents;
        if ((events & (POLLIN | POLLHUP | POLLERR)) != 0 && !stopping) {
            receive(client);
        }
    }
    if ((entries[1].revents & POLLIN) != 0) {
        acceptClients();
    }
    return !stopping;
}

void ControlServer::acceptClients() {
    for (;;) {
        FileDescriptor socket{accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK)};
        if (!socket.isOpen()) {
            return;
        }
        Client& client = clients.emplace_back();
        client.socket = std::move(socket);
        if (clients.size() > MOST_CLIENTS) {
            client.unsent = failure("there are " + std::to_string(MOST_CLIENTS) + " clients already");
            client.isLeaving = true;
        }
    }
}

void ControlServer::receive(Client& client) {
    std::array<char, std::size_t{16} * 1024> buffer{};
    const ssize_t size = recv(client.socket.get(), buffer.data(), buffer.size(), 0);
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) {
        return;
    }
    if (size <= 0) {
        // A client that has only closed its own end still gets its answers.
        client.isLeaving = true;
        if (size < 0) {
            client.unsent.clear();
            client.hasMoreLines = false;
        }
        return;
    }
    client.received.append(buffer.data(), static_cast<std::size_t>(size));
    takeLines(client);
}

void ControlServer::takeLines(Client& client) {
    std::size_t begin = 0;
    std::size_t end = client.received.find('\n');
    while (end != std::string::npos && end - begin <= LONGEST_LINE && client.unsent.size() <= ENOUGH_UNSENT &&
           !stopping) {
        const std::string_view line = std::string_view{client.received}.substr(begin, end - begin);
        if (line.find_first_not_of(" \t\r") != std::string_view::npos) {
            client.unsent += answer(client, line);
        }
        begin = end + 1;
        end = client.received.find('\n', begin);
    }
    client.hasMoreLines = end != std::string::npos;
    const std::size_t length = (client.hasMoreLines ? end : client.received.size()) - begin;
    client.received.erase(0, begin);
    if (length > LONGEST_LINE) {
        client.unsent += failure("a line has at most " + std::to_string(LONGEST_LINE) + " bytes");
        client.isLeaving = true;
        client.hasMoreLines = false;
    }
}

std::string ControlServer::answer(Client& client, std::string_view line) {
    try {
        const Deserializer json{line};
        const Command command = readCommand(json.root());
        const std::size_t nextHeadline = simulation.headlines().next();
        std::string members = simulation.execute(command);
        if (const auto* follow = std::get_if<FollowCommand>(&command)) {
            client.isFollowing = true;
            client.nextHeadline = follow->from;
        } else if (std::holds_alternative<PlayCommand>(command)) {
            members += R"(,"headline":)" + std::to_string(nextHeadline);
        }
        return R"({"ok":true)" + members + "}\n";
    } catch (const JsonError& mistake) {
        return failure("column " + std::to_string(mistake.position().column) + ": " + mistake.reason());
    } catch (const std::exception& mistake) {
        return failure(mistake.what());
    }
}

void ControlServer::send(Client& client) {
    while (!client.unsent.empty()) {
        const ssize_t size =
            ::send(client.socket.get(), client.unsent.data(), client.unsent.size(), MSG_NOSIGNAL);
        if (size < 0) {
            const bool isBroken = errno != EAGAIN && errno != EINTR;
            if (isBroken || client.unsent.size() > MOST_UNSENT) {
                client.unsent.clear();
                client.isLeaving = true;
                client.hasMoreLines = false;
            }
            return;
        }
        client.unsent.erase(0, static_cast<std::size_t>(size));
    }
}

} // namespace velk::simulator
