#include "platform/tessapi/engine/DatabaseHealth.h"

#include "platform/tessapi/engine/KeptSchema.h"
#include "platform/tessapi/engine/Statement.h"

#include <filesystem>
#include <system_error>

namespace tessapi {

namespace {

std::int64_t number(Database& database, const char* query) {
    Statement statement{database, query};
    auto run = statement.with();
    return run.next() ? run.integer(0) : 0;
}

std::uint64_t sizeOf(const std::string& path) {
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    return error ? 0 : size;
}

constexpr const char* PENDING_CHANGES =
    "SELECT (SELECT count(*) FROM mark)"
    " + coalesce((SELECT count(*) FROM alarm_event WHERE number > event), 0)"
    " + coalesce((SELECT count(*) FROM write_record WHERE number > record), 0)"
    " + (SELECT count(*) FROM channel INDEXED BY channel_soon WHERE " VELK_SOON_KEPT_NAMES
    " AND seq > setting_seq) FROM keeping";

constexpr const char* PENDING_VALUES =
    "SELECT count(*) FROM channel, keeping WHERE seq > value_seq AND NOT " VELK_SOON_KEPT_NAMES;

} // namespace

std::int64_t DatabaseHealth::schemaVersion(Database& database) {
    return number(database, "PRAGMA user_version");
}

StoreHealth::File DatabaseHealth::file(Database& database, const std::string& path) {
    StoreHealth::File file;
    file.path = path;
    file.bytes = sizeOf(path);
    file.logBytes = sizeOf(path + "-wal");
    file.pageSize = number(database, "PRAGMA page_size");
    file.pages = number(database, "PRAGMA page_count");
    file.freePages = number(database, "PRAGMA freelist_count");
    return file;
}

StoreHealth::Copy DatabaseHealth::copy(Database& working, const std::string& path) {
    StoreHealth::Copy copy;
    copy.path = path;
    copy.bytes = sizeOf(path) + sizeOf(path + "-wal");
    Statement statement{working, "SELECT last_ms, last_values_ms, last_by, failure, failing_since_ms, runs,"
                                 " bytes FROM keeping"};
    if (auto run = statement.with(); run.next()) {
        copy.lastMs = run.integer(0);
        copy.lastValuesMs = run.integer(1);
        copy.lastBy = static_cast<pid_t>(run.integer(2));
        copy.failure = run.text(3);
        copy.failingSinceMs = run.integer(4);
        copy.copies = run.id(5);
        copy.bytesWritten = run.id(6);
    }
    copy.pendingChanges = static_cast<std::uint64_t>(number(working, PENDING_CHANGES));
    copy.pendingValues = static_cast<std::uint64_t>(number(working, PENDING_VALUES));
    return copy;
}

} // namespace tessapi
