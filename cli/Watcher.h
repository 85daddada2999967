#pragma once

#include "cli/PointReport.h"
#include "cli/Session.h"
#include "cli/StoreView.h"
#include "cli/WatchCommand.h"

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace velk::cli {

/// Turns the store's writes into the lines that a person asked to see: what is taken waits until it is shown,
/// and the changes of one path that wait together make one line.
///
/// It begins with a picture of the store, from which it knows the paths, and takes a new one, at most once
/// for each `show`, when a channel is written that it does not know, that can raise an alarm, or that tells
/// whether values are fresh.
class Watcher {
public:
    /// Throws `Failure` when a path means nothing. `session` and `options` must outlive this object.
    Watcher(Session& session, const WatchOptions& options);

    /// Keeps the write until `show`, unless it changes nothing.
    void take(const tessapi::ChannelWrite& write);

    bool hasChanges() const { return !waiting.empty(); }

    /// Prints the lines for what was taken, in the order of the times; those of one path in the order in
    /// which they came, also when a clock was set back between them.
    void show();

    /// As many lines have been printed as were asked for.
    bool isFull() const { return options.count != 0 && lines >= options.count; }

private:
    /// One or more writes of a channel that make one line.
    struct Change {
        std::uint64_t channel{0};
        qz::CValue value;
        std::int64_t timeMs{0};    ///< of the last of them
        std::int64_t changedMs{0}; ///< of the last that changed something
        unsigned int count{0};     ///< 0 for a write that changed nothing
        std::int64_t orderMs{0};   ///< where its line stands: never before an earlier one of its channel
    };

    /// What has come of a channel so far.
    struct Known {
        qz::CValue present;
        std::int64_t changedMs{0};
        qz::CValue shown; ///< in its last line, or at the beginning
        std::vector<tessapi::ActiveAlarm> alarms;
    };

    /// The alarms that came and went with a change.
    struct AlarmNews {
        std::vector<tessapi::ActiveAlarm> raised;
        std::vector<tessapi::ActiveAlarm> cleared;
        bool any() const { return !raised.empty() || !cleared.empty(); }
    };

    void look();
    void choose();
    void choose(const std::vector<const Point*>& points);
    bool mustLook() const;
    static void sort(std::vector<Change>& changes);
    AlarmNews newsOf(const Point& point);
    bool isWorthALine(const Point& point, const Change& change, const Known& known) const;
    void showOne(const Change& change, const PointReport& report);
    void printText(const PointReport& report, const Point& point, const Change& change, const Known& known,
                   const AlarmNews& news) const;
    void printJson(const PointReport& report, const Point& point, const Change& change, const Known& known,
                   const AlarmNews& news) const;

    Session& session;
    const WatchOptions& options;
    StoreView view;
    std::unordered_set<std::uint64_t> chosen;
    std::size_t pathWidth{0};
    std::unordered_map<std::uint64_t, Known> channels;
    std::vector<Change> waiting;
    std::unordered_map<std::uint64_t, std::size_t> places; ///< of the channels in `waiting`, while conflating
    std::uint64_t lines{0};
};

} // namespace velk::cli
