#include "platform/tessapi/engine/CorruptFile.h"

#include "platform/tessapi/engine/Database.h"
#include "platform/tessapi/engine/FileLock.h"
#include "platform/tessapi/engine/Schema.h"
#include "platform/tessapi/engine/StoreError.h"
#include "platform/tessapi/engine/StoreFile.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <sqlite3.h>
#include <string_view>
#include <system_error>

namespace tessapi {

namespace {

namespace fs = std::filesystem;

/// "2026-11-21T19-55-00Z": no colons, which some file systems do not bear.
std::string presentTime() {
    const auto now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    std::tm parts{};
    gmtime_r(&now, &parts);
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%dT%H-%M-%SZ", &parts);
    return text.data();
}

/// A name that nothing has, with any of the endings of a database's files.
std::string freeName(const std::string& path) {
    const auto wanted = path + ".corrupt-" + presentTime();
    const auto isTaken = [](const std::string& name) {
        return fs::exists(name) || fs::exists(name + "-wal") || fs::exists(name + "-shm");
    };
    auto name = wanted;
    for (int number = 2; isTaken(name); ++number) {
        name = wanted + "-" + std::to_string(number);
    }
    return name;
}

bool isCorrupt(const std::string& path, const std::string& store) {
    try {
        Database database{path, store};
        Schema::checkSound(database);
        return false;
    } catch (const boost::system::system_error& failure) {
        return CorruptFile::isBehind(failure.code());
    }
}

bool saysThatItIsAStore(const std::string& path, const std::string& store) {
    const auto id = StoreFile::applicationId(path, store);
    return id == Schema::APPLICATION_ID || id == Schema::KEPT_ID;
}

/// Whether the file was made by this library, as far as one can tell: what another program has made stays
/// where it is.
bool isOfAStore(const std::string& path, const std::string& store, const FileLock& use) {
    if (saysThatItIsAStore(path, store)) {
        return true;
    }
    const std::string beginOfDatabases{"SQLite format 3"};
    return use.hasSign() && Database::headOfFile(path, store, beginOfDatabases.size()) != beginOfDatabases;
}

} // namespace

bool CorruptFile::isBehind(const boost::system::error_code& failure) {
    if (failure.category() == sqliteCategory()) {
        const int kind = failure.value() & 0xff;
        return kind == SQLITE_CORRUPT || kind == SQLITE_NOTADB;
    }
    return failure == boost::system::error_code{static_cast<int>(StoreFault::corrupt), storeCategory()};
}

std::string CorruptFile::move(const std::string& path, const std::string& store) {
    std::string name = freeName(path);
    // The file first: a log that is left behind without it is dropped with the next store's first page.
    for (const std::string_view ending : {"", "-wal", "-shm"}) {
        auto from = path;
        auto to = name;
        std::error_code error;
        fs::rename(from.append(ending), to.append(ending), error);
        if (error && error != std::errc::no_such_file_or_directory) {
            throwSystemFailure(store, error.value(), "cannot set aside " + from);
        }
    }
    return name;
}

bool CorruptFile::setAside(const std::string& path, const std::string& store) {
    if (!StoreFile::isKnown(path) && !saysThatItIsAStore(path, store)) {
        return false; // and nothing is left beside it
    }
    FileLock use{StoreFile::useLockOf(path), store};
    if (!use.tryAlone()) {
        return false;
    }
    if (!isCorrupt(path, store)) {
        return true;
    }
    if (!isOfAStore(path, store, use)) {
        return false;
    }
    const auto name = move(path, store);
    std::cerr << "WARNING - store " + store + ": the file was corrupt and is now " + name +
                     "; a new store is begun\n"
              << std::flush;
    return true;
}

} // namespace tessapi
