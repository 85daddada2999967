#include "platform/tessapi/engine/AlarmTable.h"

#include <algorithm>

namespace tessapi {

AlarmTable::AlarmTable(Database& owner) :
    triggers{owner, "SELECT channel, level, type, threshold1, threshold2, priority, code, extra, extra_word,"
                    " active FROM alarm WHERE channel = ? ORDER BY place"},
    every{owner, "SELECT channel, level, type, threshold1, threshold2, priority, code, extra, extra_word,"
                 " active FROM alarm ORDER BY channel, place"},
    removeAll{owner, "DELETE FROM alarm WHERE channel = ?"},
    insert{owner, "INSERT INTO alarm(channel, place, level, type, threshold1, threshold2, priority, code,"
                  " extra, extra_word, active) VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"},
    mark{owner, "UPDATE alarm SET active = ?3 WHERE channel = ?1 AND place = ?2"},
    mostCritical{owner, "SELECT a.level, a.priority, a.code, a.channel"
                        " FROM channel c JOIN alarm a ON a.channel = c.id"
                        " WHERE c.device = ? AND c.triggers != 0 AND a.active != 0"
                        " ORDER BY a.level DESC, a.priority < 0, a.priority, a.channel, a.place LIMIT 1"} {}

std::vector<AlarmTable::Row> AlarmTable::collect(Statement::Run& run) {
    std::vector<Row> rows;
    while (run.next()) {
        Row row;
        row.channel = run.id(0);
        row.trigger.level = static_cast<LevelAlarm>(run.integer(1));
        row.trigger.type = static_cast<std::int8_t>(run.integer(2));
        row.trigger.threshold1 = run.value(3);
        row.trigger.threshold2 = run.value(4);
        row.trigger.priority = static_cast<std::int32_t>(run.integer(5));
        row.trigger.code = run.text(6);
        row.trigger.extra = run.value(7);
        row.trigger.extraWord = static_cast<std::uint32_t>(run.integer(8));
        row.active = run.integer(9) != 0;
        rows.push_back(std::move(row));
    }
    return rows;
}

std::vector<AlarmTable::Row> AlarmTable::triggersOf(std::uint64_t channel) {
    auto run = triggers.with(channel);
    return collect(run);
}

bool AlarmTable::holds(std::uint64_t channel, const qz::tess::CSingleAlarmConfig& config) {
    const auto rows = triggersOf(channel);
    return std::equal(
        rows.begin(), rows.end(), config.triggers.begin(), config.triggers.end(),
        [](const Row& row, const qz::CAlarmTrigger& trigger) { return row.trigger == trigger; });
}

std::vector<AlarmTable::Row> AlarmTable::all() {
    auto run = every.with();
    return collect(run);
}

void AlarmTable::replace(std::uint64_t channel, const std::vector<Row>& rows) {
    removeAll.execute(channel);
    std::int64_t place = 0;
    for (const auto& [_, trigger, active] : rows) {
        insert.execute(channel, place++, static_cast<std::uint32_t>(trigger.level),
                       std::int32_t{trigger.type}, trigger.threshold1, trigger.threshold2, trigger.priority,
                       trigger.code, trigger.extra, trigger.extraWord, std::int32_t{active});
    }
}

void AlarmTable::setActive(std::uint64_t channel, std::size_t place, bool active) {
    mark.execute(channel, static_cast<std::uint64_t>(place), std::int32_t{active});
}

std::optional<ActiveAlarm> AlarmTable::mostCriticalOf(std::uint64_t device) {
    auto run = mostCritical.with(device);
    if (!run.next()) {
        return std::nullopt;
    }
    ActiveAlarm alarm;
    alarm.level = static_cast<LevelAlarm>(run.integer(0));
    alarm.priority = static_cast<std::int32_t>(run.integer(1));
    alarm.code = run.text(2);
    alarm.channel = run.id(3);
    return alarm;
}

} // namespace tessapi
