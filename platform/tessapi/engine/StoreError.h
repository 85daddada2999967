#pragma once

#include <boost/system/error_category.hpp>
#include <boost/system/system_error.hpp>

#include <string>

namespace tessapi {

/// What the store itself refuses; failures of the database and of the machine have categories of their own.
enum class StoreFault {
    locked = 1,   ///< another program holds the write lock for longer than a call waits
    foreign,      ///< the file is no store
    corrupt,      ///< the file's content contradicts itself
    wrongVersion, ///< the store was made by another version of this library
    missing,      ///< there is no store and none may be made
    disappeared,  ///< the file was removed or replaced while it was open
    forked,       ///< the accessor was made before the process forked
    occupied,     ///< the store has something in it already
    inUse,        ///< other programs work on the store
    otherRelease, ///< so do programs that share memory in another way than this one
    unreachable,  ///< the server of the store does not answer
    refused,      ///< the server of the store does not do what it is asked
    lost,         ///< the server has another store of that name than it had before, or none
};

/// "tess": the texts of `StoreFault`.
const boost::system::error_category& storeCategory();

/// "sqlite": the database's own texts for its result codes.
const boost::system::error_category& sqliteCategory();

/// Throws boost::system::system_error "store URL: DETAIL: CAUSE".
[[noreturn]] void throwStoreFault(const std::string& store, StoreFault fault, const std::string& detail);
[[noreturn]] void throwSqliteFailure(const std::string& store, int resultCode, const std::string& detail);

/// The same with the machine's text for `errorNumber` (errno) as the cause.
[[noreturn]] void throwSystemFailure(const std::string& store, int errorNumber, const std::string& detail);

} // namespace tessapi
