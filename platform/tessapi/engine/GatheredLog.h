#pragma once

#include "platform/tessapi/engine/LayeredFile.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace tessapi {

/// The write-ahead log of a database, written with one call of the system for each commit. The database
/// writes the header and the page of each frame by itself; here they are collected and handed down when the
/// last frame of the commit is complete, so that the commit gets the error if there is one.
///
/// Why nobody misses anything: what is in the log counts for no one before the index of the log names it,
/// which the database writes after the last frame; and who recovers a log without an index takes no frame
/// after the last whole commit. Everything else that is done to the file, also to read it, hands down first
/// what is held. What a transaction held that was rolled back must be forgotten before others may write: they
/// write to the same place.
/// Threads: those of its connection.
class GatheredLog {
public:
    /// From here on what is held is handed down. With one more frame, of at most 64 KiB and its header, it
    /// stays below 128 KiB: SQLite's own file systems write no more at a time, and fail with what is longer.
    static constexpr std::size_t MOST_HELD = std::size_t{60} * 1024;

    struct File : LayeredFile {
        GatheredLog* log;
    };

    /// An operation of the method `xFileControl`, without an argument: what is held is not written.
    static constexpr int FORGET = 0x74657303;

    /// Shows `file`, which has the opened file below it. The object goes when the file is closed.
    static void show(File& file);

private:
    explicit GatheredLog(sqlite3_file* opened) : below{opened} {}

    static GatheredLog& of(sqlite3_file* file) { return *reinterpret_cast<File*>(file)->log; }
    static int close(sqlite3_file* file);
    static int control(sqlite3_file* file, int operation, void* argument);
    static int read(sqlite3_file* file, void* bytes, int size, sqlite3_int64 offset);
    static int write(sqlite3_file* file, const void* bytes, int size, sqlite3_int64 offset);
    /// Hands down what is held, then does the same as the file below.
    template <auto METHOD>
    struct Settled;
    static const sqlite3_io_methods& methods();

    bool isNewFrame(std::size_t size, std::int64_t offset) const;
    int take(const char* bytes, std::size_t size, std::int64_t offset);
    int handDown();
    bool continues(std::int64_t offset) const;

    sqlite3_file* const below;
    std::string held;
    std::int64_t begin{0};     ///< of what is held, in the file
    std::int64_t justRead{-1}; ///< where the last call has read, if it was a read
    bool inFrame{false};       ///< the header of a frame is held without its page
    bool endsCommit{false};    ///< that frame is the last one of a commit
};

} // namespace tessapi
