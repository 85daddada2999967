// A device server that answers whatever it likes, over a socket.

#include "fuzz/Fuzz.h"
#include "plugins/nut/DeviceShape.h"
#include "plugins/nut/LinkError.h"
#include "plugins/nut/NutClient.h"
#include "plugins/nut/ServerError.h"

#include <arpa/inet.h>
#include <functional>
#include <netinet/in.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

using namespace velk::nut;
using velk::fuzz::demand;

namespace {

/// Of a fuzzer that shares its machine with many; the server is never silent.
constexpr std::chrono::seconds LONG_ENOUGH{60};

/// Sends its text to the one client that connects, and nothing after it.
class Server {
public:
    Server() : listener{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)} {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* const general = reinterpret_cast<sockaddr*>(&address);
        if (::bind(listener, general, size) != 0 || ::listen(listener, 8) != 0 ||
            ::getsockname(listener, general, &size) != 0) {
            throw std::system_error{errno, std::generic_category(), "the server's socket"};
        }
        number = ntohs(address.sin_port);
    }
    ~Server() { ::close(listener); }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    std::uint16_t port() const { return number; }

    /// The connection, on which everything is sent.
    int answer(std::string_view text) const {
        const int client = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        // So that a million connections leave nothing behind.
        const linger atOnce{1, 0};
        ::setsockopt(client, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
        ::send(client, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        ::shutdown(client, SHUT_WR);
        return client;
    }

private:
    int listener;
    std::uint16_t number{0};
};

/// False when the session is over.
bool ask(const std::function<void()>& operation) {
    try {
        operation();
    } catch (const ServerError&) {
        return true;
    } catch (const LinkError& failure) {
        demand(std::string{failure.what()}.size() < 1000, "a message as long as the answer");
        return false;
    }
    return true;
}

void look(const Snapshot& snapshot) {
    demand(snapshot.variables.size() <= NutClient::MAX_ROWS, "more variables than any device has");
    demand(inputCount(snapshot) <= MOST_CIRCUITS, "more inputs than any device has");
    demand(outletCount(snapshot) <= MOST_CIRCUITS, "more outlets than any device has");
    demand(branchCount(snapshot) <= MOST_CIRCUITS, "more branches than any device has");
    demand(storageModuleCount(snapshot) <= MOST_CIRCUITS, "more storage modules than any device has");
    demand(phaseCount(snapshot, "input.") <= 3, "more phases than there are");
    hasEnvironment(snapshot);
    hasConverters(snapshot);
    hasOutput(snapshot);
}

} // namespace

VELK_FUZZER(nut_server) {
    static const Server server;
    static const Interrupt interrupt;
    static const NutConfiguration configuration = [] {
        NutConfiguration made;
        made.port = server.port();
        made.ups = "u";
        made.user = "n";
        made.password = "p";
        return made;
    }();
    NutClient client{configuration, interrupt, velk::common::Clock::system(), LONG_ENOUGH};
    const int connection = server.answer(input);

    Snapshot snapshot;
    auto capabilities = std::make_shared<Capabilities>();
    const bool goesOn = ask([&] { snapshot.variables = client.listVariables(); }) && ask([&] {
                            for (const std::string& command : client.listCommands()) {
                                capabilities->commands.insert(command);
                            }
                        }) &&
                        ask([&] {
                            for (const std::string& variable : client.listWritable()) {
                                capabilities->writable[variable] = client.limitsOf(variable);
                            }
                        }) &&
                        ask([&] { client.get("x"); }) && ask([&] { client.login(); }) &&
                        ask([&] { client.enableTracking(); }) &&
                        ask([&] { client.outcome(client.set("x", "1")); });
    demand(!goesOn || !input.empty(), "an operation without an answer");
    ::close(connection);
    snapshot.capabilities = capabilities;
    look(snapshot);
}
