#pragma once

#include "cli/StoreView.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

namespace velk::cli {

/// Whether the device behind a point can be reached, as the store says.
struct Connection {
    bool good{false};
    std::string state{"unknown"}; ///< for people: "connected", "lost", "unknown"
    std::int64_t sinceMs{0};      ///< 0 when nobody has said
    std::int64_t toldMs{0};       ///< when the store was told of the present state; 0 for never
};

/// Tells which values of a store are fresh and which are only the last known.
///
/// An unchanged value is not written again, so its age says nothing: what counts is whether the communication
/// with the device is good, and with every part between the device and the point that has a communication
/// state of its own, such as the power bank; and somebody must be there to notice a loss: the daemon marks in
/// the store that it is at work, and a mark whose process has ended counts for nothing. What the programs of
/// this machine say of themselves is always fresh: the service state, the host's addresses, and, as long as
/// the daemon may be at work, the communication states.
class Communication {
public:
    /// The channel in which the daemon says whether it is at work.
    static constexpr const char* DAEMON_PROCESS = "Daemon.Process";

    /// Whether the daemon that left `mark` in `store` may be there. In a store that only programs of this
    /// machine can use, the mark of another machine came with a copy.
    static bool mayRun(const std::string& mark, const tessapi::StoreSnapshot& store);

    /// What is known of the daemon besides what the store says.
    enum class Daemon {
        asTheStoreSays,
        silent, ///< it was asked, and does not answer: nobody would notice a loss
    };

    /// `view` must outlive this object.
    explicit Communication(const StoreView& view, Daemon daemon = Daemon::asTheStoreSays);

    /// With the device itself.
    Connection device() const { return ofBranch(StoreView::POWER_DISTRIBUTION); }

    /// With the device or part behind `point`: the worst on the way to it.
    Connection of(const Point& point) const;

    bool isFresh(const Point& point) const { return of(point).good; }

    /// A setting that somebody asked for while the device could not be reached: the device may not have it.
    bool isUnconfirmed(const Point& point) const;

    /// True when the daemon has said that it does not look at the device now; its process may be there all
    /// the same, and wait for one.
    bool isDaemonAtRest() const { return endedMs && !isDaemonGone(); }

    /// True when the daemon was asked and does not answer.
    bool isDaemonSilent() const { return silent; }

    /// True when the daemon has ended without a word.
    bool isDaemonGone() const { return endedMs == std::numeric_limits<std::int64_t>::max(); }

private:
    bool isWatched() const { return !endedMs && !silent; }
    Connection ofBranch(std::uint64_t deviceId) const;
    std::optional<Connection> stated(std::uint64_t deviceId) const;

    const StoreView& view;
    /// When the daemon ended; the end of all times when nobody knows; empty while it may be at work.
    const std::optional<std::int64_t> endedMs;
    const bool silent; ///< and not ended
};

} // namespace velk::cli
