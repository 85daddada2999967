#include "platform/tessapi/engine/StoreFile.h"

#include "platform/common/GroupFile.h"
#include "platform/tessapi/engine/Schema.h"
#include "platform/tessapi/engine/Statement.h"
#include "platform/tessapi/engine/StoreError.h"

#include <cstdint>
#include <filesystem>
#include <sqlite3.h>
#include <system_error>

namespace tessapi {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t HEADER_SIZE = 100;
constexpr const char* BEGIN_OF_DATABASES = "SQLite format 3";
constexpr std::size_t APPLICATION_ID_OFFSET = 68;

std::uint32_t applicationIdOf(const std::string& header) {
    if (header.size() < HEADER_SIZE) {
        return 0;
    }
    std::uint32_t id = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        id = id << 8U | static_cast<unsigned char>(header[APPLICATION_ID_OFFSET + i]);
    }
    return id;
}

/// Looks at the file itself: a log that is left beside a file which somebody has replaced would hide what the
/// file is, and the next copy of the log would overwrite it.
void refuseForeignFile(const Database& database) {
    const auto header = database.headOfFile(HEADER_SIZE);
    if (applicationIdOf(header) != Schema::APPLICATION_ID) {
        throwStoreFault(database.storeName(), StoreFault::foreign, "");
    }
}

} // namespace

std::string StoreFile::locate(const std::string& path, const std::string& store, bool create) {
    std::error_code error;
    // Links are followed, as the database does: all names of one file must lead to one lock.
    const auto absolute = fs::weakly_canonical(fs::absolute(path), error);
    if (error) {
        throwSystemFailure(store, error.value(), "cannot find " + path);
    }
    const auto status = fs::status(absolute, error);
    if (status.type() == fs::file_type::none) {
        throwSystemFailure(store, error.value(), "cannot open " + path);
    }
    if (fs::exists(status)) {
        if (!fs::is_regular_file(status)) {
            throwStoreFault(store, StoreFault::foreign, "");
        }
        return absolute;
    }
    if (!create) {
        throwStoreFault(store, StoreFault::missing, "");
    }
    error.clear();
    velk::common::GroupFile::makeFolder(absolute.parent_path(), error);
    if (error) {
        throwSystemFailure(store, error.value(), "cannot make " + absolute.parent_path().string());
    }
    return absolute;
}

std::string StoreFile::useLockOf(const std::string& path) {
    return path + "-use";
}

bool StoreFile::isKnown(const std::string& path) {
    const auto isThere = [&path](const char* ending) {
        std::error_code error;
        return fs::exists(path + ending, error);
    };
    return isThere("-use") || isThere("-journal") || isThere("-wal");
}

void StoreFile::refuseStranger(const std::string& path, const std::string& store, bool create) {
    std::error_code error;
    if (isKnown(path) || !fs::exists(path, error)) {
        return;
    }
    const auto head = Database::headOfFile(path, store, HEADER_SIZE);
    const auto id = applicationIdOf(head);
    if (id == Schema::APPLICATION_ID || id == Schema::KEPT_ID) {
        return;
    }
    if (!head.empty() && head.rfind(BEGIN_OF_DATABASES, 0) != 0) {
        throwSqliteFailure(store, SQLITE_NOTADB, "");
    }
    // Without its log, since reading that would leave files behind, too.
    if (!head.empty()) {
        Database database{path, store, Database::Sharing::ignored};
        if (!Schema::isEmpty(database)) {
            throwStoreFault(store, StoreFault::foreign, "");
        }
    }
    if (!create) {
        throwStoreFault(store, StoreFault::missing, "");
    }
}

std::int64_t StoreFile::applicationId(const std::string& path, const std::string& store) {
    std::error_code error;
    return fs::exists(path, error) ? applicationIdOf(Database::headOfFile(path, store, HEADER_SIZE)) : 0;
}

void StoreFile::useLog(Database& database) {
    Statement statement{database, "PRAGMA journal_mode=WAL"};
    auto run = statement.with();
    if (!run.next() || run.text(0) != "wal") {
        throwStoreFault(database.storeName(), StoreFault::corrupt, "the file system does not bear a log");
    }
}

void StoreFile::prepare(Database& database, bool create) {
    if (Schema::isEmpty(database)) {
        if (!create) {
            throwStoreFault(database.storeName(), StoreFault::missing, "");
        }
        // Before the log is in use, so that the file itself says from its first byte on that it is a store.
        Schema::create(database);
    }
    refuseForeignFile(database);
    Schema::upgrade(database);
    Schema::verify(database);
    useLog(database);
}

void StoreFile::prepareWorking(Database& database) {
    Schema::verify(database, Schema::WORKING_ID);
    useLog(database);
}

} // namespace tessapi
