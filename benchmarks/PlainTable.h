#pragma once

#include "testing/TemporaryDirectory.h"

#include <cstdint>
#include <filesystem>
#include <sqlite3.h>
#include <stdexcept>

namespace velk::benchmarks {

/// The bare database library with the settings of the store: what it costs without all that the store adds.
/// One transaction for each operation. Threads: one.
class PlainTable {
public:
    PlainTable() : PlainTable(std::filesystem::temp_directory_path()) {}
    /// In a folder below `parent`.
    explicit PlainTable(const std::filesystem::path& parent) : directory{parent} {
        sqlite3_open((directory / "plain.db").c_str(), &database);
        run("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; PRAGMA wal_autocheckpoint=0;"
            "CREATE TABLE value(id INTEGER PRIMARY KEY, content REAL); INSERT INTO value VALUES(1, 0);");
        sqlite3_prepare_v2(database, "UPDATE value SET content = ? WHERE id = 1", -1, &updateOne, nullptr);
        sqlite3_prepare_v2(database, "SELECT content FROM value WHERE id = 1", -1, &selectOne, nullptr);
        sqlite3_prepare_v2(database, "INSERT INTO value VALUES(?, ?)", -1, &insertOne, nullptr);
    }
    ~PlainTable() {
        for (sqlite3_stmt* statement : {updateOne, selectOne, insertOne}) {
            sqlite3_finalize(statement);
        }
        sqlite3_close(database);
    }
    PlainTable(const PlainTable&) = delete;
    PlainTable& operator=(const PlainTable&) = delete;

    void write(double content) {
        sqlite3_bind_double(updateOne, 1, content);
        sqlite3_step(updateOne);
        sqlite3_reset(updateOne);
    }
    double read() {
        sqlite3_step(selectOne);
        const double content = sqlite3_column_double(selectOne, 0);
        sqlite3_reset(selectOne);
        return content;
    }
    void insert(std::int64_t id, double content) {
        sqlite3_bind_int64(insertOne, 1, id);
        sqlite3_bind_double(insertOne, 2, content);
        sqlite3_step(insertOne);
        sqlite3_reset(insertOne);
    }

    /// `count` rows in one transaction.
    void insertAtOnce(std::int64_t count) {
        run("BEGIN");
        for (std::int64_t id = 2; id < count + 2; ++id) {
            insert(id, 230.0);
        }
        run("COMMIT");
    }

private:
    void run(const char* statements) {
        if (sqlite3_exec(database, statements, nullptr, nullptr, nullptr) != SQLITE_OK) {
            throw std::runtime_error{sqlite3_errmsg(database)};
        }
    }

    const testing::TemporaryDirectory directory;
    sqlite3* database{nullptr};
    sqlite3_stmt* updateOne{nullptr};
    sqlite3_stmt* selectOne{nullptr};
    sqlite3_stmt* insertOne{nullptr};
};

} // namespace velk::benchmarks
