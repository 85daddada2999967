#pragma once

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

namespace velk::testing {

/// The exit status of a process whose starter was gone before it could ask to end with it.
constexpr int NO_STARTER = 126;

/// For a process that was just forked off `starter`, and for the program that it becomes: the machine kills
/// it when the thread that forked it ends, so that nothing is left of a test that was killed or crashed.
inline void endWithStarter(pid_t starter) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != starter) {
        _exit(NO_STARTER);
    }
}

} // namespace velk::testing
