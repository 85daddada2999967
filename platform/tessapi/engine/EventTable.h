#pragma once

#include "platform/tessapi/AlarmEvent.h"
#include "platform/tessapi/engine/Ring.h"
#include "platform/tessapi/engine/Statement.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tessapi {

/// The alarms that were raised and cleared, the newest of them: see `Ring`.
/// Threads: those of its database.
class EventTable {
public:
    EventTable(Database& owner, std::int64_t keep);

    /// Its number is given here unless it has one.
    void append(const AlarmEvent& event);

    /// At most `limit`, the newest, at or after `sinceMs`; oldest first.
    std::vector<AlarmEvent> since(std::int64_t sinceMs, std::size_t limit);

private:
    Database& database;
    Ring ring;
    Statement insert;
    Statement newest;
};

} // namespace tessapi
