#pragma once

#include "plugins/simulator/world/FileDescriptor.h"
#include "plugins/simulator/world/Simulation.h"

#include <atomic>
#include <cstddef>
#include <list>
#include <string>
#include <string_view>
#include <thread>

namespace velk::simulator {

/// The Unix stream socket by which a tester reaches into the simulation: a command a line, an answer a line,
/// in their order. What comes from there is not trusted: a line that is too long, too many clients, and a
/// client that does not read the headlines which it follows are sent away.
///
/// Threads: one of its own, which alone knows the clients; `stop` comes from the thread that constructs.
class ControlServer {
public:
    static constexpr std::size_t LONGEST_LINE = std::size_t{64} * 1024;
    static constexpr std::size_t MOST_CLIENTS = 32;
    /// Whoever has so much to read already is not answered further before it has read.
    static constexpr std::size_t ENOUGH_UNSENT = std::size_t{1024} * 1024;
    static constexpr std::size_t MOST_UNSENT = std::size_t{16} * 1024 * 1024;

    /// Binds the socket at `path` and begins to answer. A socket that nobody serves any more is replaced.
    /// Throws std::runtime_error "PATH: " and the reason.
    ControlServer(const std::string& path, Simulation& served);
    ~ControlServer(); ///< stops and removes the socket
    ControlServer(const ControlServer&) = delete;
    ControlServer& operator=(const ControlServer&) = delete;

private:
    struct Client {
        FileDescriptor socket;
        std::string received;
        std::string unsent;
        bool isFollowing{false};
        bool isLeaving{false};    ///< goes when everything is sent
        bool hasMoreLines{false}; ///< that wait in `received` until there is room for their answers
        std::size_t nextHeadline{0};
    };

    void run();
    bool awaitEvents();
    void acceptClients();
    void receive(Client& client);
    void takeLines(Client& client);
    std::string answer(Client& client, std::string_view line);
    static void send(Client& client);
    void wake() const;

    const std::string file;
    Simulation& simulation;
    FileDescriptor listener;
    FileDescriptor wakeUp; ///< an eventfd
    std::atomic<bool> stopping{false};
    std::list<Client> clients; ///< of the thread alone
    std::thread thread;
};

} // namespace velk::simulator
