#include "testing/NutServer.h"

#include "tests/plugins/nut/HostedPlugin.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <csignal>
#include <cstdlib>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velk::testing {
namespace {

bool isListening(int port) {
    const int connection = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<in_port_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool isConnected =
        ::connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(connection);
    return isConnected;
}

TEST(NutServerTest, EndsWithTheTestThatWasKilled) {
    const TemporaryDirectory folder; // for what the killed test cannot remove
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const pid_t test = ::fork();
    if (test == 0) {
        ::setenv("TMPDIR", folder.path().c_str(), 1);
        const NutServer server{{"u1=" + NutServer::demoFile("ups-1ph.dev")}};
        const int port = server.port();
        [[maybe_unused]] const auto written = ::write(ends[1], &port, sizeof port);
        ::pause();
    }
    int port = 0;
    ASSERT_EQ(::read(ends[0], &port, sizeof port), static_cast<ssize_t>(sizeof port));
    ::close(ends[0]);
    ::close(ends[1]);
    EXPECT_TRUE(isListening(port));
    ::kill(test, SIGKILL);
    ::waitpid(test, nullptr, 0);
    EXPECT_TRUE(HostedPlugin::awaitThat([&] { return !isListening(port); }));
}

} // namespace
} // namespace velk::testing
