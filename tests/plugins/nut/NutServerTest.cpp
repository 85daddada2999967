#include "testing/NutServer.h"

#include "testing/TemporaryDirectory.h"
#include "tests/plugins/nut/HostedPlugin.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/wait.h>
#include <unistd.h>

namespace velk::testing {
namespace {

/// The programs that wrote their numbers below the folder; who ends one removes its file after that.
int programsIn(const std::filesystem::path& folder) {
    int count = 0;
    std::error_code error;
    for (const auto& entry : std::filesystem::recursive_directory_iterator{folder, error}) {
        count += entry.path().extension() == ".pid" ? 1 : 0;
    }
    return count;
}

TEST(NutServerTest, EndsWithTheTestThatWasKilled) {
    const TemporaryDirectory folder; // for what the killed test cannot remove
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    const pid_t test = ::fork();
    if (test == 0) {
        ::setenv("TMPDIR", folder.path().c_str(), 1);
        const NutServer server{{"u1=" + NutServer::demoFile("ups-1ph.dev")}};
        ::close(ends[1]);
        ::pause();
    }
    ::close(ends[1]);
    char none = 0;
    EXPECT_EQ(::read(ends[0], &none, sizeof none), 0); // until it is started
    ::close(ends[0]);
    EXPECT_EQ(programsIn(folder.path()), 2);
    ::kill(test, SIGKILL);
    ::waitpid(test, nullptr, 0);
    EXPECT_TRUE(HostedPlugin::awaitThat([&] { return programsIn(folder.path()) == 0; }));
}

} // namespace
} // namespace velk::testing
