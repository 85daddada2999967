#pragma once

#include "cli/ExitCode.h"
#include "cli/Inquiry.h"
#include "cli/Session.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace velk::cli {

/// Which part of the past a person wants to see, and how.
struct HistoryOptions {
    static constexpr unsigned int MOST_POINTS = 1000; ///< that the daemon gives

    /// Nobody knows more.
    static constexpr std::int64_t LONGEST_MS = std::int64_t{7} * 24 * 60 * 60 * 1000;

    std::string path;
    std::string since{"6h"}; ///< as `sinceMs` takes it
    bool csv{false};         ///< values separated by commas, for other programs
    /// How many parts the time has, or how many of the newest changes are wanted. Without, a number has as
    /// many as the width shows, or 100 for programs, and of the changes all are wanted.
    std::optional<unsigned int> points;
};

/// The channels by which the daemon is asked.
constexpr Inquiry::Subject HISTORY_SUBJECT{"Daemon.HistoryRequest", "Daemon.HistoryAnswer"};

/// `history PATH`: what a data point was, drawn over time; the daemon knows it and tells within `timeout`.
///
/// Throws `Failure` with `NoSuchPath` when the store has no such data point or nothing is known of its past,
/// with `Failed` when the daemon does not answer or keeps no history, with `Usage` for a time that is none.
ExitCode runHistory(Session& session, const HistoryOptions& options,
                    velk::common::Clock::Duration timeout = std::chrono::seconds{2});

} // namespace velk::cli
