#include "platform/tessapi/StoreAdvice.h"

#include "platform/tessapi/engine/StoreError.h"

#include <boost/system/system_error.hpp>

#include <cerrno>
#include <sqlite3.h>
#include <string_view>

namespace tessapi {

namespace {

constexpr const char* START_DAEMON = "is powerdistributiond running, and with this store?";
constexpr const char* JOIN_GROUP = "is this user in the group that owns the store (ls -l)?";
constexpr const char* MAKE_SPACE = "make space, and what was kept in memory is written by itself";
constexpr const char* REACH_SERVER = "is the store's server running, and does TESS_URL lead to it?";
constexpr const char* SET_FILE_ASIDE =
    "stop powerdistributiond, set the file aside, \"tess import\" what \"tess export\" has kept, and start "
    "powerdistributiond";
constexpr const char* TAKE_OVER =
    "all programs must be of one release; \"tess export\" of the one that made the store and \"tess import\" "
    "of the other, into an empty store, take it over";

std::string ofStore(StoreFault fault) {
    switch (fault) {
    case StoreFault::missing:
    case StoreFault::disappeared:
        return START_DAEMON;
    case StoreFault::locked:
        return "\"tess doctor\" says who works on it";
    case StoreFault::foreign:
        return "TESS_URL must name a store";
    case StoreFault::corrupt:
        return SET_FILE_ASIDE;
    case StoreFault::unreachable:
        return REACH_SERVER;
    case StoreFault::lost:
        return "start the programs that worked on it anew";
    case StoreFault::wrongVersion:
        return TAKE_OVER;
    case StoreFault::otherRelease:
        return "all programs must be of one release";
    default:
        return "";
    }
}

std::string ofDatabase(int resultCode) {
    // A file that is mapped into memory finds no room on a full disk.
    if (resultCode == SQLITE_IOERR_SHMSIZE || resultCode == SQLITE_IOERR_SHMMAP) {
        return MAKE_SPACE;
    }
    switch (resultCode & 0xff) {
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
        return SET_FILE_ASIDE;
    case SQLITE_FULL:
        return MAKE_SPACE;
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
        return JOIN_GROUP;
    default:
        return "";
    }
}

std::string ofSystem(int errorNumber) {
    switch (errorNumber) {
    case EACCES:
    case EPERM:
        return JOIN_GROUP;
    case ENOSPC:
        return MAKE_SPACE;
    case ENOENT:
        return START_DAEMON;
    case ECONNREFUSED:
    case ETIMEDOUT:
    case EHOSTUNREACH:
        return REACH_SERVER;
    default:
        return "";
    }
}

} // namespace

std::string storeAdvice(const boost::system::error_code& code) {
    const std::string_view category = code.category().name();
    if (category == "tess") {
        return ofStore(static_cast<StoreFault>(code.value()));
    }
    if (category == "sqlite") {
        return ofDatabase(code.value());
    }
    return code.category() == boost::system::system_category() ? ofSystem(code.value()) : "";
}

bool isStoreLost(const boost::system::error_code& code) {
    const auto fault = static_cast<StoreFault>(code.value());
    return code.category().name() == std::string_view{"tess"} &&
           (fault == StoreFault::disappeared || fault == StoreFault::lost);
}

bool isStoreLost(const std::exception& failure) {
    const auto* ofStore = dynamic_cast<const boost::system::system_error*>(&failure);
    return ofStore != nullptr && isStoreLost(ofStore->code());
}

} // namespace tessapi
