#pragma once

#include "daemon/history/HistoryBook.h"

#include <filesystem>
#include <ostream>

namespace velk::daemon {

/// Keeps a history in a file over the end of the process.
///
/// A new one takes the place of the old one at once and only when it is whole and on the disk. One whose
/// content cannot be used is set aside under its name with ".damaged-" and the time; one that the system does
/// not let be read stays, and is never replaced by this process. Both are told in one line. One that cannot
/// be written is told once until it could be written again.
///
/// Threads: one at a time.
class HistoryFile {
public:
    /// `errors` must outlive this object.
    HistoryFile(std::filesystem::path place, std::ostream& errors);

    /// Does nothing when there is no file. Never throws a standard exception.
    void load(HistoryBook& book, std::int64_t nowMs);
    void save(const HistoryBook& book, std::int64_t nowMs);

private:
    void leave(const std::string& why);
    void setAside(const std::string& why, std::int64_t nowMs);
    void write(const ByteVector& content) const;

    const std::filesystem::path file;
    std::ostream& errors;
    bool isForeign{false}; ///< there is one that could not be read
    bool failing{false};
};

} // namespace velk::daemon
