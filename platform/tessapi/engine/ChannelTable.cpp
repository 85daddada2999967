#include "platform/tessapi/engine/ChannelTable.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace tessapi {

namespace {

constexpr std::uint64_t UNKNOWN = ~std::uint64_t{0};

/// Who asks for as many channels of a device asks for most of them.
constexpr std::size_t WORTH_A_WALK = 8;

} // namespace

ChannelTable::ChannelTable(Database& owner) :
    database{owner}, //
    idByName{owner, "SELECT id FROM channel WHERE device = ? AND name = ?"},
    one{owner, "SELECT id, device, name, type, value, written_ms, "
               "changed_ms, triggers FROM channel"
               " WHERE id = ?"},
    every{owner, "SELECT id, device, name, type, value, written_ms, "
                 "changed_ms, triggers FROM channel"
                 " ORDER BY device, id"},
    ids{owner, "SELECT id FROM channel WHERE device = ? ORDER BY id"},
    type{owner, "SELECT type FROM channel WHERE id = ?"},
    types{owner, "SELECT DISTINCT name, type FROM channel"},
    value{owner, "SELECT value FROM channel WHERE id = ?"},
    typeAndValue{owner, "SELECT type, value FROM channel WHERE id = ?"},
    typeAndValueByName{owner, "SELECT id, type, value FROM channel WHERE device = ? AND name = ?"},
    typesAndValues{owner, "SELECT name, id, type, value FROM channel WHERE device = ? ORDER BY name"},
    insertOne{owner, "INSERT INTO channel(device, name, type) VALUES(?, ?, ?)"},
    insertGiven{owner, "INSERT INTO channel(id, device, name, type) VALUES(?, ?, ?, ?)"},
    removeOne{owner, "DELETE FROM channel WHERE id = ?"},
    last{owner, "SELECT seq FROM sqlite_sequence WHERE name = 'channel'"},
    setLast{owner, "UPDATE sqlite_sequence SET seq = max(seq, ?) WHERE name "
                   "= 'channel'"},
    write{owner, "UPDATE channel SET value = ?2, written_ms = ?3, changed_ms "
                 "= ?4, seq = ?5 WHERE id = ?1"},
    clear{owner, "UPDATE channel SET type = ?2, value = NULL, written_ms = "
                 "0, changed_ms = 0 WHERE id = ?1"},
    mark{owner, "UPDATE channel SET triggers = ?2 WHERE id = ?1"},
    states{owner, "SELECT value, name FROM state WHERE channel = ? ORDER BY place"},
    everyState{owner, "SELECT channel, value, name FROM state ORDER BY channel, place"},
    removeStates{owner, "DELETE FROM state WHERE channel = ?"},
    insertState{owner, "INSERT INTO state(channel, place, value, name) VALUES(?, ?, ?, ?)"} {}

std::uint64_t ChannelTable::find(std::uint64_t device, const std::string& name) {
    auto run = idByName.with(device, name);
    return run.next() ? run.id(0) : UNKNOWN;
}

ChannelTable::Row ChannelTable::read(const Statement::Run& run) {
    return {run.id(0),    run.id(1),      run.text(2),    static_cast<qz::datatype>(run.integer(3)),
            run.value(4), run.integer(5), run.integer(6), run.integer(7) != 0};
}

std::optional<ChannelTable::Row> ChannelTable::get(std::uint64_t channel) {
    auto run = one.with(channel);
    if (!run.next()) {
        return std::nullopt;
    }
    return read(run);
}

std::vector<ChannelTable::Row> ChannelTable::all() {
    std::vector<Row> rows;
    auto run = every.with();
    while (run.next()) {
        rows.push_back(read(run));
    }
    return rows;
}

std::vector<std::uint64_t> ChannelTable::idsOf(std::uint64_t device) {
    std::vector<std::uint64_t> found;
    auto run = ids.with(device);
    while (run.next()) {
        found.push_back(run.id(0));
    }
    return found;
}

qz::datatype ChannelTable::typeOf(std::uint64_t channel) {
    auto run = type.with(channel);
    return run.next() ? static_cast<qz::datatype>(run.integer(0)) : qz::datatype::unknown;
}

std::vector<std::pair<std::string, qz::datatype>> ChannelTable::typesByName() {
    std::vector<std::pair<std::string, qz::datatype>> found;
    auto run = types.with();
    while (run.next()) {
        found.emplace_back(run.text(0), static_cast<qz::datatype>(run.integer(1)));
    }
    return found;
}

qz::CValue ChannelTable::valueOf(std::uint64_t channel) {
    auto run = value.with(channel);
    return run.next() ? run.value(0) : qz::CValue{};
}

TypedValue ChannelTable::typeAndValueOf(std::uint64_t channel) {
    auto run = typeAndValue.with(channel);
    return run.next() ? TypedValue{static_cast<qz::datatype>(run.integer(0)), run.value(1)} : TypedValue{};
}

std::vector<ChannelTable::Found> ChannelTable::findAll(std::uint64_t device,
                                                       const std::vector<std::string>& names) {
    if (names.size() >= WORTH_A_WALK) {
        return walk(device, names);
    }
    std::vector<Found> found;
    found.reserve(names.size());
    for (const auto& name : names) {
        found.push_back(findTypeAndValue(device, name));
    }
    return found;
}

std::vector<ChannelTable::Found> ChannelTable::walk(std::uint64_t device,
                                                    const std::vector<std::string>& names) {
    std::vector<std::pair<std::string_view, std::size_t>> asked; // with their places, in the table's order
    asked.reserve(names.size());
    for (const auto& name : names) {
        asked.emplace_back(name, asked.size());
    }
    std::sort(asked.begin(), asked.end());
    std::vector<Found> found(names.size(), Found{UNKNOWN, {}});
    auto next = asked.begin();
    auto run = typesAndValues.with(device);
    while (next != asked.end() && run.next()) {
        const auto name = run.view(0);
        next = std::find_if(next, asked.end(), [&](const auto& one) { return one.first >= name; });
        for (; next != asked.end() && next->first == name; ++next) {
            found[next->second] = {run.id(1), {static_cast<qz::datatype>(run.integer(2)), run.value(3)}};
        }
    }
    return found;
}

ChannelTable::Found ChannelTable::findTypeAndValue(std::uint64_t device, const std::string& name) {
    auto run = typeAndValueByName.with(device, name);
    if (!run.next()) {
        return {UNKNOWN, {}};
    }
    return {run.id(0), {static_cast<qz::datatype>(run.integer(1)), run.value(2)}};
}

std::uint64_t ChannelTable::insert(std::uint64_t device, const std::string& name, qz::datatype kind) {
    insertOne.execute(device, name, static_cast<std::uint32_t>(kind));
    return static_cast<std::uint64_t>(database.lastInsertedId());
}

void ChannelTable::insertWithId(std::uint64_t channel, std::uint64_t device, const std::string& name,
                                qz::datatype kind) {
    insertGiven.execute(channel, device, name, static_cast<std::uint32_t>(kind));
}

std::uint64_t ChannelTable::lastGiven() {
    auto run = last.with();
    return run.next() ? run.id(0) : 0;
}

void ChannelTable::setLastGiven(std::uint64_t channel) {
    setLast.execute(channel);
}

void ChannelTable::remove(std::uint64_t channel) {
    removeOne.execute(channel);
}

void ChannelTable::setValue(std::uint64_t channel, const qz::CValue& content, std::int64_t writtenMs,
                            std::int64_t changedMs, std::int64_t seq) {
    write.execute(channel, content, writtenMs, changedMs, seq);
}

void ChannelTable::retype(std::uint64_t channel, qz::datatype kind) {
    clear.execute(channel, static_cast<std::uint32_t>(kind));
}

void ChannelTable::setHasTriggers(std::uint64_t channel, bool hasTriggers) {
    mark.execute(channel, std::int32_t{hasTriggers});
}

qz::CMultistateMap ChannelTable::statesOf(std::uint64_t channel) {
    qz::CMultistateMap map;
    auto run = states.with(channel);
    while (run.next()) {
        map.add(run.value(0), run.text(1));
    }
    return map;
}

void ChannelTable::setStates(std::uint64_t channel, const qz::CMultistateMap& map) {
    removeStates.execute(channel);
    std::int64_t place = 0;
    for (const auto& [key, name] : map.entries()) {
        insertState.execute(channel, place++, key, name);
    }
}

std::vector<std::pair<std::uint64_t, qz::CMultistateMap::Entry>> ChannelTable::allStates() {
    std::vector<std::pair<std::uint64_t, qz::CMultistateMap::Entry>> found;
    auto run = everyState.with();
    while (run.next()) {
        found.emplace_back(run.id(0), qz::CMultistateMap::Entry{run.value(1), run.text(2)});
    }
    return found;
}

} // namespace tessapi
