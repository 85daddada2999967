#pragma once

namespace velk::daemon {

/// How the daemon ends. The numbers are contract: the service unit and scripts rely on them.
enum class ExitCode : int {
    Done = 0,             ///< ended as it was asked to, or the configuration is good
    Failed = 1,           ///< the machine refused what the daemon needs, such as a thread
    Usage = 2,            ///< the command line makes no sense
    BadConfiguration = 3, ///< the configuration cannot be used
    EndedHard = 8,        ///< a second signal came before the device had been let go
};

} // namespace velk::daemon
