#include "platform/tessapi/engine/StoreError.h"

#include <sqlite3.h>

namespace tessapi {

namespace {

// The library's base class has a protected destructor that is not virtual; nobody destroys through it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): the base cannot destroy it
class StoreCategory final : public boost::system::error_category {
public:
    const char* name() const noexcept override { return "tess"; }

    std::string message(int code) const override {
        switch (static_cast<StoreFault>(code)) {
        case StoreFault::locked:
            return "locked by another program for too long";
        case StoreFault::foreign:
            return "the file is not a store";
        case StoreFault::corrupt:
            return "the store is corrupt";
        case StoreFault::wrongVersion:
            return "the store has another schema version";
        case StoreFault::missing:
            return "there is no store";
        case StoreFault::disappeared:
            return "the store's file was removed or replaced";
        case StoreFault::forked:
            return "a store cannot be used across a fork of the process";
        case StoreFault::occupied:
            return "the store has something in it already";
        case StoreFault::inUse:
            return "other programs work on the store";
        case StoreFault::otherRelease:
            return "a program of another release works on the store, and has to be ended or started anew "
                   "first";
        case StoreFault::unreachable:
            return "the server of the store cannot be reached";
        case StoreFault::refused:
            return "the server of the store refuses";
        case StoreFault::lost:
            return "the server has lost the store or has another one of its name; it has to be opened anew";
        }
        return "unknown failure";
    }
};

// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): the base cannot destroy it
class SqliteCategory final : public boost::system::error_category {
public:
    const char* name() const noexcept override { return "sqlite"; }
    std::string message(int code) const override { return sqlite3_errstr(code); }
};

#pragma GCC diagnostic pop

[[noreturn]] void raise(boost::system::error_code code, const std::string& store, const std::string& detail) {
    throw boost::system::system_error{code, "store " + store + (detail.empty() ? "" : ": " + detail)};
}

} // namespace

const boost::system::error_category& storeCategory() {
    static const StoreCategory category;
    return category;
}

const boost::system::error_category& sqliteCategory() {
    static const SqliteCategory category;
    return category;
}

void throwStoreFault(const std::string& store, StoreFault fault, const std::string& detail) {
    raise({static_cast<int>(fault), storeCategory()}, store, detail);
}

void throwSqliteFailure(const std::string& store, int resultCode, const std::string& detail) {
    // Often the connection knows no more than what the code says.
    raise({resultCode, sqliteCategory()}, store, detail == sqlite3_errstr(resultCode) ? "" : detail);
}

void throwSystemFailure(const std::string& store, int errorNumber, const std::string& detail) {
    raise({errorNumber, boost::system::system_category()}, store, detail);
}

} // namespace tessapi
