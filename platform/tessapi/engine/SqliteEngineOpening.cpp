// How a store in a database is opened, in a file, in memory, or in both.

#include "platform/tessapi/engine/CopyKeeping.h"
#include "platform/tessapi/engine/CorruptFile.h"
#include "platform/tessapi/engine/KeptStore.h"
#include "platform/tessapi/engine/LogKeeping.h"
#include "platform/tessapi/engine/MemoryStores.h"
#include "platform/tessapi/engine/Schema.h"
#include "platform/tessapi/engine/SqliteEngine.h"
#include "platform/tessapi/engine/StoreError.h"
#include "platform/tessapi/engine/StoreFile.h"
#include "platform/tessapi/engine/WorkingFile.h"

#include <boost/system/system_error.hpp>

#include <utility>

namespace tessapi {

using velk::common::MutexLock;

std::shared_ptr<Engine> SqliteEngine::open(const StoreUrl& url, bool create, const Options& options) {
    if (url.inMemory()) {
        return openMemory(url, create, options);
    }
    try {
        return openFile(url, create, options);
    } catch (const boost::system::system_error& failure) {
        if (!create || !url.setsCorruptAside() || !CorruptFile::isBehind(failure.code()) ||
            !CorruptFile::setAside(StoreFile::locate(url.place(), url.text(), false), url.text())) {
            throw;
        }
    }
    return openFile(url, create, options);
}

std::shared_ptr<Engine> SqliteEngine::openFile(const StoreUrl& url, bool create, const Options& options) {
    const auto path = StoreFile::locate(url.place(), url.text(), create);
    StoreFile::refuseStranger(path, url.text(), create);
    auto use = std::make_unique<FileLock>(StoreFile::useLockOf(path), url.text());
    const auto [kept, alone] = KeptStore::settle(path, url, create, *use, options.longestWait);
    const auto file = kept ? WorkingFile::place(kept->working, path, url.text()) : path;
    auto words = std::make_unique<SharedPage>(file + "-lock", url.text());
    std::shared_ptr<SqliteEngine> engine{new SqliteEngine{url, std::move(words), options}};
    engine->use = std::move(use);
    if (kept &&
        (alone || !WorkingFile::isFilledFrom(file, engine->store, kept->identity, *engine->writers))) {
        WorkingFile::prepare(file, path, engine->store, *engine->writers, alone, options.longestWait);
    }
    engine->use->awaitShared(options.longestWait); // others may come from here on
    engine->connect(file, create, kept.has_value(), options);
    if (!kept || !alone) {
        engine->checkSound(); // otherwise that was done while it was prepared
    }
    std::unique_ptr<IKeeping> keeping;
    if (kept) {
        engine->copyFile = path;
        engine->valuesEvery = kept->valuesEvery;
        keeping = std::make_unique<CopyKeeping>(
            CopyKeeping::Place{path, file, kept->valuesEvery, options.framesToCopy, options.longestWait},
            engine->store, *engine->writers, *engine->use, *options.clock);
    } else {
        keeping = std::make_unique<LogKeeping>(path, engine->store, *engine->writers, options.framesToCopy);
    }
    engine->keeper = std::make_unique<Keeper>(std::move(keeping), options);
    engine->retypeChannels();
    engine->use->leaveSign(); // that there was a store
    return engine;
}

void SqliteEngine::connect(const std::string& path, bool create, bool working, const Options& options) {
    file = path;
    {
        InterprocessHold hold{*writers};
        writer = std::make_unique<Connection>(path, store, catalogue, options);
        MutexLock lock{writer->mutex};
        if (working) {
            StoreFile::prepareWorking(writer->database);
            WorkingFile::renewIndex(writer->database);
        } else {
            StoreFile::prepare(writer->database, create);
        }
        ring.belongTo(writer->database.identity());
        ring.begin(writer->model.changes.head());
    }
    secondConnection = std::make_unique<Connection>(path, store, catalogue, options);
    reader = secondConnection.get();
}

std::shared_ptr<Engine> SqliteEngine::openMemory(const StoreUrl& url, bool create, const Options& options) {
    return MemoryStores::find(url.place(), [&url, create, &options] {
        if (!create) {
            throwStoreFault(url.text(), StoreFault::missing, "");
        }
        std::shared_ptr<SqliteEngine> engine{new SqliteEngine{url, std::make_unique<SharedPage>(), options}};
        engine->writer = std::make_unique<Connection>(":memory:", engine->store, engine->catalogue, options);
        engine->reader = engine->writer.get();
        MutexLock lock{engine->writer->mutex};
        Schema::create(engine->writer->database);
        engine->ring.belongTo(engine->writer->database.identity());
        return engine;
    });
}

} // namespace tessapi
