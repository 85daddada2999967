#pragma once

#include "platform/tessapi/engine/Database.h"
#include "platform/tessapi/engine/InterprocessLock.h"
#include "platform/tessapi/engine/KeptStore.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace tessapi {

/// The database in memory that programs work on, beside its lock in a folder that all programs agree on.
namespace WorkingFile {

std::string pathIn(const std::string& folder, const std::string& kept);

/// The file for the kept copy `kept`; makes the folder if the one above it is there. Throws
/// boost::system::system_error that names `store`.
std::string place(const std::string& folder, const std::string& kept, const std::string& store);

/// Fills `file` from `kept` unless it is of it already. The caller does not hold `writers`.
///
/// With `alone`, when no other program has the store open, a corrupt file is set aside first, which is told
/// in one line on the standard error, and `file` is sound at return. One such file is kept, the newest: it
/// takes room in memory. Nothing happens to it when `kept` is not whole.
void prepare(const std::string& file, const std::string& kept, const std::string& store,
             InterprocessLock& writers, bool alone, std::chrono::milliseconds longestWait);

/// Whether `file` was filled from the kept copy of this identity.
bool isFilledFrom(const std::string& file, const std::string& store, std::int64_t identity,
                  InterprocessLock& writers);

/// Whether nobody has put another kept copy, of the same identity, in the place of that since.
bool belongsTo(const std::string& file, const std::string& store, const KeptStore::Record& record);

/// Which kept copy a file was filled from, and how many copies had been made to it.
struct Origin {
    std::int64_t identity;
    std::int64_t copies;
};

/// For a kept copy that is gone or damaged while `file` has everything: all of that is copied with the next
/// run to one that is made anew with what this returns. Nothing when `file` is not whole or of another boot.
/// No program has the store open.
std::optional<Origin> adopt(const std::string& file, const std::string& store,
                            std::chrono::milliseconds longestWait);

/// Has `working`, which an earlier release may have filled since the boot, know the channels whose values are
/// kept soon. The caller holds the lock between the processes.
void renewIndex(Database& working);

void remove(const std::string& file);

} // namespace WorkingFile

} // namespace tessapi
