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

/// Methods of which all that every file has do what the file below does.
inline sqlite3_io_methods methodsOfBelow(int version) {
    using Methods = sqlite3_io_methods;
    Methods made{};
    made.iVersion = version;
    made.xClose = PassOn<&Methods::xClose>::call;
    made.xRead = PassOn<&Methods::xRead>::call;
    made.xWrite = PassOn<&Methods::xWrite>::call;
    made.xTruncate = PassOn<&Methods::xTruncate>::call;
    made.xSync = PassOn<&Methods::xSync>::call;
    made.xFileSize = PassOn<&Methods::xFileSize>::call;
    made.xLock = PassOn<&Methods::xLock>::call;
    made.xUnlock = PassOn<&Methods::xUnlock>::call;
    made.xCheckReservedLock = PassOn<&Methods::xCheckReservedLock>::call;
    made.xFileControl = PassOn<&Methods::xFileControl>::call;
    made.xSectorSize = PassOn<&Methods::xSectorSize>::call;
    made.xDeviceCharacteristics = PassOn<&Methods::xDeviceCharacteristics>::call;
    return made;
}

} // namespace tessapi
