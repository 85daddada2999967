#include "platform/tessapi/engine/DiskLayer.h"

#include "platform/common/Mutex.h"
#include "platform/tessapi/engine/GatheredLog.h"
#include "platform/tessapi/engine/WriterLocks.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <type_traits>

namespace tessapi {

namespace {

/// As SQLite knows it, with what it lies over. Its other functions are those below.
struct Layer {
    sqlite3_vfs shown; ///< first: its address is that of the whole
    sqlite3_vfs* below;
    std::string name;
};

template <class File>
int openOver(sqlite3_vfs& below, sqlite3_filename name, sqlite3_file* file, int flags, int* outFlags) {
    auto& own = *reinterpret_cast<File*>(file);
    own.shown.pMethods = nullptr;
    own.below =
        reinterpret_cast<sqlite3_file*>(reinterpret_cast<std::uint8_t*>(file) + LayeredFile::sizeOf<File>());
    const int result = below.xOpen(&below, name, own.below, flags, outFlags);
    if (own.below->pMethods == nullptr) {
        return result;
    }
    if (result != SQLITE_OK) {
        own.below->pMethods->xClose(own.below);
        return result;
    }
    if constexpr (std::is_same_v<File, GatheredLog::File>) {
        GatheredLog::show(own);
    } else {
        WriterLocks::show(own);
    }
    return result;
}

int open(sqlite3_vfs* layer, sqlite3_filename name, sqlite3_file* file, int flags, int* outFlags) {
    auto& below = *reinterpret_cast<Layer*>(layer)->below;
    if ((flags & SQLITE_OPEN_WAL) != 0) {
        return openOver<GatheredLog::File>(below, name, file, flags, outFlags);
    }
    if ((flags & SQLITE_OPEN_MAIN_DB) != 0) {
        return openOver<WriterLocks::File>(below, name, file, flags, outFlags);
    }
    return below.xOpen(&below, name, file, flags, outFlags);
}

std::unique_ptr<Layer> layerOver(sqlite3_vfs& below) {
    auto layer = std::make_unique<Layer>(Layer{below, &below, std::string{"velk-"} + below.zName});
    layer->shown.pNext = nullptr;
    layer->shown.zName = layer->name.c_str();
    layer->shown.szOsFile +=
        std::max(LayeredFile::sizeOf<GatheredLog::File>(), LayeredFile::sizeOf<WriterLocks::File>());
    layer->shown.xOpen = open;
    return layer;
}

} // namespace

const char* DiskLayer::name() {
    static velk::common::Mutex mutex;
    // They outlive the threads of stores that static objects hold.
    static auto& layers = *new std::map<sqlite3_vfs*, std::unique_ptr<Layer>>;
    const velk::common::MutexLock lock{mutex};
    auto* below = sqlite3_vfs_find(nullptr);
    auto& layer = layers[below];
    if (!layer) {
        layer = layerOver(*below);
        sqlite3_vfs_register(&layer->shown, 0);
    }
    return layer->name.c_str();
}

} // namespace tessapi
