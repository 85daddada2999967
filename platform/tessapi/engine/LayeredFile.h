#pragma once

#include <cstddef>
#include <sqlite3.h>

namespace tessapi {

/// A file as a layer over SQLite's own file system shows it; the file below lies right behind it in memory.
/// Whoever derives from it adds what the layer keeps for the file.
/// Threads: SQLite's, one at a time for each file.
struct LayeredFile {
    sqlite3_file shown; ///< first: its address is that of the whole
    sqlite3_file* below;

    static constexpr std::size_t ALIGNMENT = 16;
    /// Bytes from the beginning of a file that is a `File` to the file below it.
    template <class File>
    static constexpr int sizeOf() {
        return static_cast<int>((sizeof(File) + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT);
    }
};

/// A method that does what the file below does.
template <auto METHOD>
struct PassOn;

template <class Result, class... Arguments,
          Result (*sqlite3_io_methods::*METHOD)(sqlite3_file*, Arguments...)>
struct PassOn<METHOD> {
    static Result call(sqlite3_file* file, Arguments... arguments) {
        auto* below = reinterpret_cast<LayeredFile*>(file)->below;
        return (below->pMethods->*METHOD)(below, arguments...);
    }
};

} // namespace tessapi
