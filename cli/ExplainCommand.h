#pragma once

#include "cli/ExitCode.h"
#include "cli/Session.h"

#include <chrono>
#include <string>

namespace velk::cli {

/// `explain PATH`: everything that is known of one point: who serves it and how it is polled, which the
/// daemon tells within `timeout`; its type, stamps and triggers, which the store tells; who asked for the
/// last write to the device. Without an answer of the daemon it says so on the standard error and shows the
/// rest. Throws `Failure` with the nearest right paths for one that there is not.
ExitCode runExplain(Session& session, const std::string& path,
                    velk::common::Clock::Duration timeout = std::chrono::seconds{2});

} // namespace velk::cli
