#pragma once

#include "cli/Communication.h"
#include "cli/Session.h"
#include "cli/StoreView.h"
#include "cli/WatchCommand.h"

#include <cstdint>
#include <unordered_map>
#include <unordered_set>

namespace velk::cli {

/// Turns the store's writes into the lines that a person asked to see.
///
/// It begins with a picture of the store, from which it knows the paths, and takes a new one when a channel
/// is written that it does not know, or one that tells whether values are fresh.
class Watcher {
public:
    /// Throws `Failure` when a path means nothing. `session` must outlive this object.
    Watcher(Session& session, const WatchOptions& options);

    /// Prints the lines for one write: none or one. True when it was one.
    bool show(const tessapi::ChannelWrite& write);

private:
    /// A value and the time of the write that brought it.
    struct Shown {
        qz::CValue value;
        std::int64_t changedMs{0};
    };

    void look();
    void choose();
    void print(const Point& point, const tessapi::ChannelWrite& write, std::int64_t changedMs) const;

    Session& session;
    const WatchOptions& options;
    StoreView view;
    std::unordered_set<std::uint64_t> chosen;
    std::unordered_map<std::uint64_t, Shown> shown;
};

} // namespace velk::cli
