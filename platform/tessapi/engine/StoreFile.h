#pragma once

#include "platform/tessapi/engine/Database.h"

#include <cstdint>
#include <string>

namespace tessapi {

/// What there is to do about a store's file before and while it is opened.
namespace StoreFile {

/// The absolute path of the file. Throws `StoreFault::missing` if it is not there and must not be made;
/// otherwise makes the folders that lead to it.
std::string locate(const std::string& path, const std::string& store, bool create);

/// The application that the file at `path` says it is of; 0 when it is not there or has no content.
std::int64_t applicationId(const std::string& path, const std::string& store);

/// Whether programs have worked on a store at `path`: each of them puts a lock beside it. So does a journal
/// tell, which a power cut has left: the file itself may have any content then, until the database has
/// recovered it.
bool isKnown(const std::string& path);
std::string useLockOf(const std::string& path);

/// Refuses what is at `path`, if it is no store, before anything is put beside it. What only the database
/// itself can tell is left to `prepare`.
void refuseStranger(const std::string& path, const std::string& store, bool create);

/// Lets programs read while one writes. Throws when the file system does not bear it.
void useLog(Database& database);

/// Makes the tables in a file without content, and refuses a file that is no store. The caller holds
/// the lock between the processes.
void prepare(Database& database, bool create);
/// Refuses a file that is not one that a kept copy was filled into, and has it use a log: whoever filled it
/// may have been killed before that.
void prepareWorking(Database& database);

} // namespace StoreFile

} // namespace tessapi
