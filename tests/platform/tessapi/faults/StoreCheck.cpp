#include "tests/platform/tessapi/faults/StoreCheck.h"

#include "platform/qz/CValue.h"
#include "platform/qz/datatype.h"
#include "platform/tessapi/engine/AlarmEvaluator.h"
#include "platform/tessapi/engine/AlarmTable.h"
#include "platform/tessapi/engine/BreakableReads.h"
#include "platform/tessapi/engine/ChannelTable.h"
#include "platform/tessapi/engine/InterprocessLock.h"
#include "platform/tessapi/engine/SharedPage.h"
#include "platform/tessapi/engine/Statement.h"
#include "platform/tessapi/engine/Transaction.h"

#include <chrono>
#include <cstdint>
#include <exception>
#include <map>
#include <tuple>

namespace tessapi::faults {

namespace {

/// Queries that give no row in a store that is whole.
constexpr const char* NEVER[][2] = {
    {"a device without parent", "SELECT id FROM device d WHERE (parent IS NULL) != (id = 1)"
                                " OR (parent IS NOT NULL AND parent NOT IN (SELECT id FROM device))"},
    {"devices that do not hang below the root",
     "WITH RECURSIVE below(id) AS (SELECT 1 UNION SELECT d.id FROM device d JOIN below b ON d.parent = b.id)"
     " SELECT id FROM device WHERE id NOT IN below"},
    {"a uuid twice", "SELECT uuid FROM device GROUP BY hex(uuid) HAVING count(*) > 1"},
    {"a name twice", "SELECT name FROM channel GROUP BY device, name || '' HAVING count(*) > 1"},
    {"a channel without device", "SELECT id FROM channel WHERE device NOT IN (SELECT id FROM device)"},
    {"an attribute without device",
     "SELECT number FROM attribute WHERE device NOT IN (SELECT id FROM device)"},
    {"an alarm without channel", "SELECT place FROM alarm WHERE channel NOT IN (SELECT id FROM channel)"},
    {"a state without channel", "SELECT place FROM state WHERE channel NOT IN (SELECT id FROM channel)"},
    {"an identifier that will be given again",
     "SELECT name FROM sqlite_sequence WHERE (name = 'device' AND seq < (SELECT max(id) FROM device))"
     " OR (name = 'channel' AND seq < (SELECT max(id) FROM channel))"},
    {"a wrong note of triggers",
     "SELECT id FROM channel c WHERE (triggers != 0) != EXISTS (SELECT 1 FROM alarm WHERE channel = c.id)"},
    {"a gap in the change log",
     "SELECT 1 FROM (SELECT count(*) n, min(seq) a, max(seq) z FROM change) WHERE n > 0 AND z - a + 1 != n"},
    {"a gap in the alarm events",
     "SELECT 1 FROM (SELECT count(*) n, min(number) a, max(number) z FROM alarm_event)"
     " WHERE n > 0 AND z - a + 1 != n"},
    {"a gap in the records",
     "SELECT 1 FROM (SELECT count(*) n, min(number) a, max(number) z FROM write_record)"
     " WHERE n > 0 AND z - a + 1 != n"},
    {"a value that is not the one of its last change",
     "SELECT c.id FROM channel c JOIN change n ON n.seq = c.seq"
     " WHERE n.kind != 0 OR n.object != c.id OR n.value IS NOT c.value OR n.time_ms != c.written_ms"},
    {"a change that its channel does not know of",
     "SELECT c.id FROM channel c JOIN change n ON n.kind = 0 AND n.object = c.id WHERE n.seq > c.seq"},
    {"a change of an attribute that its device does not know of",
     "SELECT d.id FROM device d JOIN change n ON n.kind = 1 AND n.object = d.id"
     " GROUP BY d.id HAVING max(n.seq) > d.attribute_seq AND d.id >= 1000"},
    {"a number that the change log has not reached",
     "SELECT 1 FROM channel WHERE seq > (SELECT coalesce(max(seq), 0) FROM change)"
     " UNION SELECT 1 FROM device WHERE max(attribute_seq, alarm_seq) >"
     " (SELECT coalesce(max(seq), 0) FROM change)"},
};

class Check {
public:
    explicit Check(const std::string& file) : database{file, file} {}

    std::vector<std::string> run() {
        const Transaction transaction{database, Transaction::Kind::read};
        runPragma("PRAGMA integrity_check", "ok");
        runPragma("PRAGMA foreign_key_check", "");
        for (const auto& [name, query] : NEVER) {
            Statement statement{database, query};
            if (auto rows = statement.with(); rows.next()) {
                problems.push_back(std::string{name} + ": " + rows.text(0));
            }
        }
        checkAlarms();
        checkEvents();
        return problems;
    }

private:
    void runPragma(const char* query, const std::string& expected) {
        Statement statement{database, query};
        auto rows = statement.with();
        if (const auto first = rows.next() ? rows.text(0) : ""; first != expected) {
            problems.push_back(std::string{query} + ": " + first);
        }
    }

    void checkAlarms() {
        ChannelTable channels{database};
        AlarmTable alarms{database};
        for (const auto& channel : channels.all()) {
            values[channel.id] = channel.value;
            if (channel.value.isValid() && channel.value.type() != channel.type) {
                problems.push_back("a value of another type in channel " + std::to_string(channel.id));
            }
        }
        for (const auto& row : alarms.all()) {
            if (row.active != AlarmEvaluator::isActive(row.trigger, values[row.channel])) {
                problems.push_back("an alarm that disagrees with the value of channel " +
                                   std::to_string(row.channel));
            }
            if (row.active) {
                active[{row.channel, static_cast<std::int64_t>(row.trigger.level), row.trigger.priority,
                        row.trigger.code}] = true;
            }
        }
    }

    void checkEvents() {
        Statement statement{database, "SELECT channel, level, priority, code, raised, number FROM alarm_event"
                                      " ORDER BY number"};
        auto rows = statement.with();
        std::map<Key, bool> last;
        bool isWhole = true; // nothing has left the ring yet
        while (rows.next()) {
            isWhole = isWhole && (!last.empty() || rows.integer(5) == 1);
            const Key key{rows.id(0), rows.integer(1), rows.integer(2), rows.text(3)};
            const bool raised = rows.integer(4) != 0;
            const auto before = last.find(key);
            if (before == last.end() ? isWhole && !raised : before->second == raised) {
                problems.push_back("an alarm event that does not follow the one before: " +
                                   std::to_string(rows.integer(5)));
            }
            last[key] = raised;
        }
        for (const auto& [key, raised] : last) {
            if (raised != (active.count(key) != 0)) {
                problems.push_back("an alarm of channel " + std::to_string(std::get<0>(key)) +
                                   " that disagrees with its events");
            }
        }
        for (const auto& [key, _] : active) {
            if (isWhole && last.count(key) == 0) {
                problems.push_back("an alarm without an event in channel " +
                                   std::to_string(std::get<0>(key)));
            }
        }
    }

    /// Channel, level, priority, code.
    using Key = std::tuple<std::uint64_t, std::int64_t, std::int64_t, std::string>;

    Database database;
    std::vector<std::string> problems;
    std::map<std::uint64_t, qz::CValue> values;
    std::map<Key, bool> active;
};

} // namespace

std::vector<std::string> problemsOf(const std::string& file) {
    try {
        SharedPage page{file + "-lock", file};
        InterprocessLock lock{page, file, std::chrono::seconds{20}};
        return BreakableReads{lock}.run([&file] { return Check{file}.run(); });
    } catch (const std::exception& failure) {
        return {failure.what()};
    }
}

std::string problemTextOf(const std::string& file) {
    std::string text;
    for (const auto& problem : problemsOf(file)) {
        text += problem + "\n";
    }
    return text;
}

} // namespace tessapi::faults
