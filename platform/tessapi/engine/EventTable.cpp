#include "platform/tessapi/engine/EventTable.h"

#include <algorithm>
#include <limits>

namespace tessapi {

EventTable::EventTable(Database& owner, std::int64_t keep) :
    database{owner},
    ring{owner, "DELETE FROM alarm_event WHERE number <= ?", keep},
    insert{owner,
           "INSERT INTO alarm_event(number, time_ms, raised, device, channel, place, name, code, message,"
           " level, priority, type, value, threshold1, threshold2)"
           " VALUES(nullif(?, 0), ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"},
    newest{owner,
           "SELECT number, time_ms, raised, device, channel, place, name, code, message, level, priority,"
           " type, value, threshold1, threshold2 FROM alarm_event WHERE time_ms >= ?"
           " ORDER BY number DESC LIMIT ?"} {}

void EventTable::append(const AlarmEvent& event) {
    insert.execute(event.number, event.timeMs, std::int32_t{event.raised}, event.device, event.channel,
                   event.place, event.name, event.code, event.message,
                   static_cast<std::uint32_t>(event.level), event.priority, std::int32_t{event.type},
                   event.value, event.threshold1, event.threshold2);
    ring.prune(database.lastInsertedId());
}

std::vector<AlarmEvent> EventTable::since(std::int64_t sinceMs, std::size_t limit) {
    std::vector<AlarmEvent> events;
    auto run = newest.with(sinceMs, Statement::limit(limit));
    while (run.next()) {
        AlarmEvent event;
        event.number = run.integer(0);
        event.timeMs = run.integer(1);
        event.raised = run.integer(2) != 0;
        event.device = run.id(3);
        event.channel = run.id(4);
        event.place = run.text(5);
        event.name = run.text(6);
        event.code = run.text(7);
        event.message = run.text(8);
        event.level = static_cast<LevelAlarm>(run.integer(9));
        event.priority = static_cast<std::int32_t>(run.integer(10));
        event.type = static_cast<std::int8_t>(run.integer(11));
        event.value = run.value(12);
        event.threshold1 = run.value(13);
        event.threshold2 = run.value(14);
        events.push_back(std::move(event));
    }
    std::reverse(events.begin(), events.end());
    return events;
}

} // namespace tessapi
