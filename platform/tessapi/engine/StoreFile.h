#pragma once

#include "platform/tessapi/engine/Database.h"

#include <string>

namespace tessapi {

/// What there is to do about a store's file before and while it is opened.
namespace StoreFile {

/// The absolute path of the file. Throws `StoreFault::missing` if it is not there and must not be made;
/// otherwise makes the folders that lead to it.
std::string locate(const std::string& path, const std::string& store, bool create);

/// Makes the tables in a file without content, and refuses a file that is no store. The caller holds
/// the lock between the processes.
void prepare(Database& database, bool create);

} // namespace StoreFile

} // namespace tessapi
