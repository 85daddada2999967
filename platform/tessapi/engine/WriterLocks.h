#pragma once

#include "platform/tessapi/engine/LayeredFile.h"

namespace tessapi {

/// The locks that a write transaction takes on the index of the log: one instead of three.
///
/// The database marks how far it reads, locks that mark, and then locks out other writers. Who locks them out
/// first needs no mark: it reads the newest state, which nobody can follow with another one, nor start the
/// log anew, nor recover it, and a copy of the log into the file writes only pages that it reads from the
/// log. So within `hold` and `release` the lock of the writers is the only one that is really taken; a
/// program that goes past this library meets the same lock as always.
///
/// Whatever else the database asks for, to start the log anew or to recover its index, it gets as always.
/// Threads: those of its connection.
class WriterLocks {
public:
    struct File : LayeredFile {
        WriterLocks* locks;
    };

    /// Operations of `sqlite3_file_control` without an argument; a file that this class does not show refuses
    /// them.
    static constexpr int HOLD = 0x74657301;    ///< before a write transaction begins
    static constexpr int RELEASE = 0x74657302; ///< after it has ended

    /// Shows `file`, which has the opened file below it. The object goes when the file is closed.
    static void show(File& file);

private:
    explicit WriterLocks(sqlite3_file* opened) : below{opened} {}

    static WriterLocks& of(sqlite3_file* file) { return *reinterpret_cast<File*>(file)->locks; }
    static const sqlite3_io_methods& methods();
    static int close(sqlite3_file* file);
    static int control(sqlite3_file* file, int operation, void* argument);
    static int map(sqlite3_file* file, int region, int size, int extend, void volatile** address);
    static int lock(sqlite3_file* file, int first, int count, int flags);
    static int unmap(sqlite3_file* file, int remove);

    int lockBelow(int first, int count, int flags);
    void hold();
    void release();
    int lockHeld(int first, int count, int flags);
    int lockMark(unsigned int mark, int first, int flags);

    sqlite3_file* const below;
    bool mapped{false};     ///< the index is there
    bool held{false};       ///< the lock of the writers is
    bool asAlways{false};   ///< the marks have to be locked after all
    unsigned int spared{0}; ///< marks, as bits, that the database takes for locked
};

} // namespace tessapi
