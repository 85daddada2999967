#include "testing/ChildProcess.h"

#include "testing/EndWithStarter.h"

#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velk::testing {
namespace {

class ChildProcessTest : public ::testing::Test {
protected:
    ChildProcessTest() { prctl(PR_SET_CHILD_SUBREAPER, 1); } // an orphan becomes a child of this process
    ~ChildProcessTest() override { prctl(PR_SET_CHILD_SUBREAPER, 0); }

    /// The process that `start` gives, after the one that started it was killed.
    static pid_t orphanOf(const std::function<pid_t()>& start) {
        int ends[2];
        EXPECT_EQ(::pipe(ends), 0);
        const pid_t test = ::fork();
        if (test == 0) {
            const pid_t started = start();
            [[maybe_unused]] const auto written = ::write(ends[1], &started, sizeof started);
            ::pause();
            ::_exit(1);
        }
        pid_t started = 0;
        EXPECT_EQ(::read(ends[0], &started, sizeof started), static_cast<ssize_t>(sizeof started));
        ::close(ends[0]);
        ::close(ends[1]);
        ::kill(test, SIGKILL);
        ::waitpid(test, nullptr, 0);
        return started;
    }
};

TEST_F(ChildProcessTest, EndsWithTheTestThatWasKilled) {
    const pid_t orphan = orphanOf([] { return (new ChildProcess{{"/bin/sleep", "60"}})->pid(); });
    int status = 0;
    ASSERT_EQ(::waitpid(orphan, &status, 0), orphan);
    // The second when it had not come to its first line before the other was killed.
    EXPECT_TRUE((WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) ||
                (WIFEXITED(status) && WEXITSTATUS(status) == NO_STARTER))
        << "it ran to its end: " << status;
}

} // namespace
} // namespace velk::testing
