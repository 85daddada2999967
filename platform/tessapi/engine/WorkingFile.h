#pragma once

#include "platform/tessapi/engine/InterprocessLock.h"
#include "platform/tessapi/engine/KeptStore.h"

#include <chrono>
#include <string>

namespace tessapi {

/// The database in memory that programs work on, beside its lock in a folder that all programs agree on.
namespace WorkingFile {

std::string pathIn(const std::string& folder, const std::string& kept);

/// The file for the kept copy `kept`; makes the folder if the one above it is there. Throws
/// boost::system::system_error that names `store`.
std::string place(const std::string& folder, const std::string& kept, const std::string& store);

/// Fills `file` from `kept` unless it is filled already. The caller does not hold `writers`.
void prepare(const std::string& file, const std::string& kept, const std::string& store,
             InterprocessLock& writers, std::chrono::milliseconds longestWait);

/// Whether `file` holds everything of the kept copy with this record, and maybe more.
bool belongsTo(const std::string& file, const std::string& store, const KeptStore::Record& record);

void remove(const std::string& file);

} // namespace WorkingFile

} // namespace tessapi
