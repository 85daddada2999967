#include "platform/tessapi/engine/Schema.h"

#include "platform/tessapi/RootDevice.h"
#include "platform/tessapi/engine/Statement.h"
#include "platform/tessapi/engine/StoreError.h"
#include "platform/tessapi/engine/Transaction.h"

#include <cstdlib>
#include <sqlite3.h>
#include <string>

namespace tessapi {

namespace {

// `seq` columns hold the number of the last entry of `change` that tells of the row. They bring a listener up
// to date that has slept longer than `change` keeps its entries.
constexpr const char* TABLES = R"sql(
CREATE TABLE device(
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    uuid BLOB NOT NULL UNIQUE,
    parent INTEGER REFERENCES device(id) ON DELETE CASCADE,
    attribute_seq INTEGER NOT NULL DEFAULT 0,
    alarm_seq INTEGER NOT NULL DEFAULT 0);
CREATE INDEX device_by_parent ON device(parent);

CREATE TABLE attribute(
    device INTEGER NOT NULL REFERENCES device(id) ON DELETE CASCADE,
    number INTEGER NOT NULL,
    text TEXT NOT NULL,
    PRIMARY KEY(device, number)) WITHOUT ROWID;

CREATE TABLE channel(
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    device INTEGER NOT NULL REFERENCES device(id) ON DELETE CASCADE,
    name TEXT NOT NULL,
    type INTEGER NOT NULL,
    value BLOB,
    written_ms INTEGER NOT NULL DEFAULT 0,
    changed_ms INTEGER NOT NULL DEFAULT 0,
    seq INTEGER NOT NULL DEFAULT 0,
    triggers INTEGER NOT NULL DEFAULT 0,
    UNIQUE(device, name));

CREATE TABLE state(
    channel INTEGER NOT NULL REFERENCES channel(id) ON DELETE CASCADE,
    place INTEGER NOT NULL,
    value BLOB,
    name TEXT NOT NULL,
    PRIMARY KEY(channel, place)) WITHOUT ROWID;

CREATE TABLE alarm(
    channel INTEGER NOT NULL REFERENCES channel(id) ON DELETE CASCADE,
    place INTEGER NOT NULL,
    level INTEGER NOT NULL,
    type INTEGER NOT NULL,
    threshold1 BLOB,
    threshold2 BLOB,
    priority INTEGER NOT NULL,
    code TEXT NOT NULL,
    extra BLOB,
    extra_word INTEGER NOT NULL,
    active INTEGER NOT NULL DEFAULT 0,
    PRIMARY KEY(channel, place)) WITHOUT ROWID;

CREATE TABLE change(
    seq INTEGER PRIMARY KEY,
    kind INTEGER NOT NULL,
    object INTEGER NOT NULL,
    value BLOB,
    time_ms INTEGER NOT NULL);

INSERT INTO sqlite_sequence(name, seq) VALUES('device', 999), ('channel', 999);
)sql";

/// Since version 2.
constexpr const char* HISTORY_TABLES = R"sql(
CREATE TABLE alarm_event(
    number INTEGER PRIMARY KEY,
    time_ms INTEGER NOT NULL,
    raised INTEGER NOT NULL,
    device INTEGER NOT NULL,
    channel INTEGER NOT NULL,
    place TEXT NOT NULL,
    name TEXT NOT NULL,
    code TEXT NOT NULL,
    message TEXT NOT NULL,
    level INTEGER NOT NULL,
    priority INTEGER NOT NULL,
    type INTEGER NOT NULL,
    value BLOB,
    threshold1 BLOB,
    threshold2 BLOB);

CREATE TABLE write_record(
    number INTEGER PRIMARY KEY,
    time_ms INTEGER NOT NULL,
    program TEXT NOT NULL,
    user TEXT NOT NULL,
    path TEXT NOT NULL,
    asked TEXT NOT NULL,
    result TEXT NOT NULL);
)sql";

std::string single(Database& database, const char* query) {
    Statement statement{database, query};
    auto run = statement.with();
    return run.next() ? run.text(0) : "";
}

std::int64_t number(Database& database, const char* query) {
    Statement statement{database, query};
    auto run = statement.with();
    return run.next() ? run.integer(0) : 0;
}

qz::CValue::Bytes rootUuid() {
    return {ROOT_UUID.data().begin(), ROOT_UUID.data().end()};
}

/// The code that a check tells of a page that it could not get; 0 for none.
int errorCodeIn(const std::string& verdict) {
    const std::string mark{"error code="};
    const auto found = verdict.find(mark);
    return found == std::string::npos ? 0 : std::atoi(verdict.c_str() + found + mark.size());
}

} // namespace

bool Schema::isEmpty(Database& database) {
    return number(database, "SELECT count(*) FROM sqlite_master") == 0 &&
           number(database, "PRAGMA application_id") == 0;
}

void Schema::create(Database& database, std::int64_t applicationId, const std::function<void()>& more) {
    Transaction transaction{database, Transaction::Kind::write};
    database.execute(TABLES);
    database.execute(HISTORY_TABLES);
    database.execute(("PRAGMA application_id=" + std::to_string(applicationId)).c_str());
    database.execute(("PRAGMA user_version=" + std::to_string(VERSION)).c_str());
    Statement{database, "INSERT INTO device(id, uuid, parent) VALUES(1, ?, NULL)"}.execute(rootUuid());
    more();
    transaction.commit();
}

void Schema::upgrade(Database& database) {
    if (applicationId(database) != APPLICATION_ID || number(database, "PRAGMA user_version") != 1) {
        return;
    }
    Transaction transaction{database, Transaction::Kind::write};
    database.execute(HISTORY_TABLES);
    database.execute("PRAGMA user_version=2");
    transaction.commit();
}

void Schema::verify(Database& database, std::int64_t expectedId) {
    const auto& store = database.storeName();
    if (applicationId(database) != expectedId) {
        throwStoreFault(store, StoreFault::foreign, "");
    }
    if (const auto found = number(database, "PRAGMA user_version"); found != VERSION) {
        throwStoreFault(store, StoreFault::wrongVersion,
                        "version " + std::to_string(found) + ", expected " + std::to_string(VERSION));
    }
}

std::int64_t Schema::applicationId(Database& database) {
    return number(database, "PRAGMA application_id");
}

void Schema::checkSound(Database& database) {
    const auto verdict = single(database, "PRAGMA quick_check(1)");
    if (verdict == "ok") {
        return;
    }
    // A disk that cannot be read at this moment says nothing about what is on it.
    if (const int code = errorCodeIn(verdict); (code & 0xff) == SQLITE_IOERR || code == SQLITE_NOMEM) {
        throwSqliteFailure(database.storeName(), code, "cannot check the store");
    }
    throwStoreFault(database.storeName(), StoreFault::corrupt, verdict);
}

} // namespace tessapi
