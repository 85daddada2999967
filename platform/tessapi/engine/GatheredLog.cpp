#include "platform/tessapi/engine/GatheredLog.h"

#include <algorithm>

namespace tessapi {

namespace {

/// The header of a frame has two numbers of four bytes first: the page, and the size of the database if the
/// frame ends a commit, else 0.
constexpr std::size_t FRAME_HEADER = 24;
constexpr std::size_t SIZE_AFTER_COMMIT = 4;

bool isLastOfCommit(const char* header) {
    return std::any_of(header + SIZE_AFTER_COMMIT, header + 2 * SIZE_AFTER_COMMIT,
                       [](char byte) { return byte != 0; });
}

} // namespace

template <class... Arguments, int (*sqlite3_io_methods::*METHOD)(sqlite3_file*, Arguments...)>
struct GatheredLog::Settled<METHOD> {
    static int call(sqlite3_file* file, Arguments... arguments) {
        const int result = of(file).handDown();
        return result == SQLITE_OK ? PassOn<METHOD>::call(file, arguments...) : result;
    }
};

void GatheredLog::show(File& file) {
    file.log = new GatheredLog{file.below};
    file.shown.pMethods = &methods();
}

const sqlite3_io_methods& GatheredLog::methods() {
    using Methods = sqlite3_io_methods;
    static const Methods own = [] {
        Methods made = methodsOfBelow(1); // a log is neither locked nor mapped
        made.xClose = close;
        made.xRead = read;
        made.xWrite = write;
        made.xTruncate = Settled<&Methods::xTruncate>::call;
        made.xSync = Settled<&Methods::xSync>::call;
        made.xFileSize = Settled<&Methods::xFileSize>::call;
        made.xFileControl = control;
        return made;
    }();
    return own;
}

int GatheredLog::close(sqlite3_file* file) {
    const int result = of(file).handDown();
    const int closed = PassOn<&sqlite3_io_methods::xClose>::call(file);
    delete reinterpret_cast<File*>(file)->log;
    return result == SQLITE_OK ? closed : result;
}

int GatheredLog::control(sqlite3_file* file, int operation, void* argument) {
    if (operation == FORGET) {
        of(file).held.clear();
        of(file).inFrame = false;
        return SQLITE_OK;
    }
    return Settled<&sqlite3_io_methods::xFileControl>::call(file, operation, argument);
}

int GatheredLog::read(sqlite3_file* file, void* bytes, int size, sqlite3_int64 offset) {
    of(file).justRead = offset;
    return Settled<&sqlite3_io_methods::xRead>::call(file, bytes, size, offset);
}

int GatheredLog::write(sqlite3_file* file, const void* bytes, int size, sqlite3_int64 offset) {
    return of(file).take(static_cast<const char*>(bytes), static_cast<std::size_t>(size), offset);
}

bool GatheredLog::continues(std::int64_t offset) const {
    return offset == begin + static_cast<std::int64_t>(held.size());
}

bool GatheredLog::isNewFrame(std::size_t size, std::int64_t offset) const {
    // The header of a frame that is there already, whose checksum is made anew, has no page after it. Such a
    // frame is read as a whole just before; otherwise pages are read, without their headers.
    return !inFrame && size == FRAME_HEADER && offset != justRead;
}

int GatheredLog::take(const char* bytes, std::size_t size, std::int64_t offset) {
    const bool isHeader = isNewFrame(size, offset);
    justRead = -1;
    const bool isPage = inFrame && continues(offset);
    if (!isPage && (!isHeader || !continues(offset))) {
        if (const int result = handDown(); result != SQLITE_OK) {
            return result;
        }
        if (!isHeader) {
            return below->pMethods->xWrite(below, bytes, static_cast<int>(size), offset);
        }
        begin = offset;
    }
    held.append(bytes, size);
    inFrame = isHeader;
    if (isHeader) {
        endsCommit = isLastOfCommit(bytes);
        return SQLITE_OK;
    }
    return endsCommit || held.size() >= MOST_HELD ? handDown() : SQLITE_OK;
}

int GatheredLog::handDown() {
    inFrame = false;
    if (held.empty()) {
        return SQLITE_OK;
    }
    // What cannot be written is not kept either: its transaction is rolled back.
    const int result = below->pMethods->xWrite(below, held.data(), static_cast<int>(held.size()), begin);
    held.clear();
    return result;
}

} // namespace tessapi
