#pragma once

#include "cli/StoreView.h"
#include "cli/doctor/Diagnosis.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace velk::cli {

/// What the daemon says of itself in the store. A plain value.
struct DaemonState {
    enum class Kind {
        Never,   ///< no daemon has used this store
        AtRest,  ///< it has said that it does not look at the device
        Gone,    ///< it ended without a word
        Running, ///< as far as can be told from here
    };

    Kind kind{Kind::Never};
    int process{0};         ///< while it runs
    std::int64_t saidMs{0}; ///< when it said so: milliseconds since 1970 UTC
    std::string mark;       ///< of its process
    bool answers{true};     ///< false: asked, and silent for `LONGEST_SILENCE`
};

/// A daemon at work answers in milliseconds.
inline constexpr std::chrono::seconds LONGEST_SILENCE{2};

/// The configuration file of a daemon. A plain value.
struct DaemonConfiguration {
    std::string file;  ///< empty when there is none
    std::string doubt; ///< why it is not to be looked into; empty when it may be
};

DaemonState stateOfDaemon(const StoreView& view);

Diagnosis diagnoseDaemon(const DaemonState& daemon, std::int64_t nowMs);

/// With the device; only a note when there is no daemon to look.
Diagnosis diagnoseCommunication(const StoreView& view, const DaemonState& daemon, std::int64_t nowMs);

/// The program of the daemon that lies beside this one.
std::string daemonProgram();

/// The configuration file that the daemon of this machine uses: of its command line while it runs, else the
/// installed one.
///
/// Whoever may write the store says there which process the daemon is, and whose check is run loads plug-ins:
/// so a process counts only when it runs `program`, and a file only when nobody but its owner, who is root or
/// the caller, can have chosen what is in it and in its plug-ins.
DaemonConfiguration configurationOfDaemon(const DaemonState& daemon,
                                          const std::string& program = daemonProgram());

/// What `powerdistributiond --check --json` has found; `json` as it printed it.
Diagnoses diagnoseConfiguration(const std::string& json);

/// Runs the daemon's program that lies beside this one. Empty, with the reason in `failure`, when it cannot
/// be run or prints nothing in time.
std::string checkByDaemon(const std::string& configuration, std::string& failure);

} // namespace velk::cli
