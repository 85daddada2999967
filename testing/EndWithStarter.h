#pragma once

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

namespace velk::testing {

/// For a process that was just forked off `starter`, and for the program that it becomes: the machine kills
/// it when the thread that forked it ends, so that nothing is left of a test that was killed or crashed.
inline void endWithStarter(pid_t starter) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != starter) {
        _exit(126);
    }
}

} // namespace velk::testing
