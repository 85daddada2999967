#include "platform/tessapi/engine/DeviceTable.h"

#include "platform/tessapi/engine/StoreError.h"

#include <algorithm>

namespace tessapi {

namespace {

using velk::common::Uuid;

constexpr std::uint64_t UNKNOWN = ~std::uint64_t{0};

qz::CValue::Bytes bytesOf(const Uuid& uuid) {
    return {uuid.data().begin(), uuid.data().end()};
}

} // namespace

DeviceTable::DeviceTable(Database& owner) :
    database{owner}, //
    idByUuid{owner, "SELECT id FROM device WHERE uuid = ?"},
    uuidById{owner, "SELECT uuid FROM device WHERE id = ?"},
    insertNext{owner, "INSERT INTO device(uuid, parent) VALUES(?, ?)"},
    insertWanted{owner, "INSERT INTO device(uuid, parent, id) VALUES(?, ?, ?)"},
    last{owner, "SELECT seq FROM sqlite_sequence WHERE name = 'device'"},
    setLast{owner, "UPDATE sqlite_sequence SET seq = max(seq, ?) WHERE name = 'device'"},
    children{owner, "SELECT id FROM device WHERE parent = ? ORDER BY id"},
    subtree{owner, "WITH RECURSIVE below(id, depth) AS (SELECT id, 0 FROM device WHERE id = ?"
                   " UNION ALL SELECT d.id, b.depth + 1 FROM device d JOIN below b ON d.parent = b.id)"
                   " SELECT id FROM below ORDER BY depth DESC, id"},
    removeOne{owner, "DELETE FROM device WHERE id = ?"},
    one{owner, "SELECT id, uuid, coalesce(parent, 0) FROM device WHERE id = ?"},
    every{owner, "SELECT id, uuid, coalesce(parent, 0) FROM device ORDER BY id"},
    attributesOfOne{owner, "SELECT number, text FROM attribute WHERE device = ?"},
    attributesOfAll{owner, "SELECT device, number, text FROM attribute ORDER BY device"},
    attributeText{owner, "SELECT text FROM attribute WHERE device = ? AND number = ?"},
    writeAttribute{owner, "INSERT OR REPLACE INTO attribute(device, number, text) VALUES(?, ?, ?)"},
    markAttribute{owner, "UPDATE device SET attribute_seq = ?2 WHERE id = ?1"},
    markAlarm{owner, "UPDATE device SET alarm_seq = ?2 WHERE id = ?1"} {}

std::uint64_t DeviceTable::find(const Uuid& uuid) {
    auto run = idByUuid.with(bytesOf(uuid));
    return run.next() ? run.id(0) : UNKNOWN;
}

Uuid DeviceTable::uuidOf(std::uint64_t device) {
    auto run = uuidById.with(device);
    return run.next() ? Uuid{run.bytes(0)} : Uuid::NIL;
}

bool DeviceTable::contains(std::uint64_t device) {
    auto run = uuidById.with(device);
    return run.next();
}

std::uint64_t DeviceTable::insert(const Uuid& uuid, std::uint64_t parent, std::uint64_t id) {
    if (id == 0) {
        insertNext.execute(bytesOf(uuid), parent);
    } else {
        insertWanted.execute(bytesOf(uuid), parent, id);
    }
    return static_cast<std::uint64_t>(database.lastInsertedId());
}

std::uint64_t DeviceTable::lastGiven() {
    auto run = last.with();
    return run.next() ? run.id(0) : 0;
}

void DeviceTable::setLastGiven(std::uint64_t device) {
    setLast.execute(device);
}

std::vector<std::uint64_t> DeviceTable::childrenOf(std::uint64_t device) {
    std::vector<std::uint64_t> ids;
    auto run = children.with(device);
    while (run.next()) {
        ids.push_back(run.id(0));
    }
    return ids;
}

std::vector<std::uint64_t> DeviceTable::subtreeOf(std::uint64_t device) {
    std::vector<std::uint64_t> ids;
    auto run = subtree.with(device);
    while (run.next()) {
        ids.push_back(run.id(0));
    }
    return ids;
}

void DeviceTable::remove(const std::vector<std::uint64_t>& deepestFirst) {
    for (const auto device : deepestFirst) {
        removeOne.execute(device);
    }
}

qz::CDevice DeviceTable::read(const Statement::Run& run) {
    qz::CDevice device;
    device.id = run.id(0);
    device.uuid = Uuid{run.bytes(1)};
    device.parentId = run.id(2);
    return device;
}

qz::CDevice DeviceTable::get(std::uint64_t device) {
    auto run = one.with(device);
    if (!run.next()) {
        return {};
    }
    auto found = read(run);
    auto attributes = attributesOfOne.with(device);
    while (attributes.next()) {
        found.attributes.at(attributes.id(0)) = attributes.text(1);
    }
    return found;
}

std::vector<qz::CDevice> DeviceTable::all() {
    std::vector<qz::CDevice> devices;
    auto run = every.with();
    while (run.next()) {
        devices.push_back(read(run));
    }
    auto device = devices.begin();
    auto attributes = attributesOfAll.with();
    while (attributes.next()) {
        const auto owner = attributes.id(0);
        device = std::find_if(device, devices.end(), [owner](const auto& d) { return d.id == owner; });
        if (device == devices.end()) {
            throwStoreFault(database.storeName(), StoreFault::corrupt, "an attribute without device");
        }
        device->attributes.at(attributes.id(1)) = attributes.text(2);
    }
    return devices;
}

std::string DeviceTable::attribute(std::uint64_t device, std::uint32_t number) {
    auto run = attributeText.with(device, number);
    return run.next() ? run.text(0) : "";
}

void DeviceTable::setAttribute(std::uint64_t device, std::uint32_t number, const std::string& text,
                               std::int64_t seq) {
    writeAttribute.execute(device, number, text);
    markAttribute.execute(device, seq);
}

void DeviceTable::noteAlarmChange(std::uint64_t device, std::int64_t seq) {
    markAlarm.execute(device, seq);
}

} // namespace tessapi
