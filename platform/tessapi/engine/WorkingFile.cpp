#include "platform/tessapi/engine/WorkingFile.h"

#include "platform/common/BootId.h"
#include "platform/common/Clock.h"
#include "platform/common/GroupFile.h"
#include "platform/tessapi/engine/BreakableReads.h"
#include "platform/tessapi/engine/CorruptFile.h"
#include "platform/tessapi/engine/KeptSchema.h"
#include "platform/tessapi/engine/Schema.h"
#include "platform/tessapi/engine/SharedPage.h"
#include "platform/tessapi/engine/Statement.h"
#include "platform/tessapi/engine/StoreError.h"
#include "platform/tessapi/engine/StoreFile.h"
#include "platform/tessapi/engine/Transaction.h"

#include <cstdint>
#include <filesystem>
#include <iostream>
#include <optional>
#include <system_error>

namespace tessapi {

namespace {

namespace fs = std::filesystem;

/// 16 digits that tell one path from another, by the hash of Fowler, Noll and Vo.
std::string digitsOf(const std::string& path) {
    std::uint64_t hash = 0xcbf29ce484222325U;
    for (const char letter : path) {
        hash = (hash ^ static_cast<unsigned char>(letter)) * 0x100000001b3U;
    }
    std::string digits(16, '0');
    for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit, hash /= 16) {
        *digit = "0123456789abcdef"[hash % 16];
    }
    return digits;
}

std::int64_t monotonicMs() {
    using std::chrono::milliseconds;
    return std::chrono::duration_cast<milliseconds>(velk::common::Clock::system().now()).count();
}

void fill(const std::string& file, KeptStore& kept) {
    const auto& store = kept.connection().storeName();
    WorkingFile::remove(file); // what a killed program has begun
    {
        Database working{file, store};
        Schema::create(working, Schema::WORKING_ID, [&] {
            working.execute(KeptSchema::WORKING_TABLES);
            working.execute(KeptSchema::SOON_INDEX);
        });
    }
    kept.fill(file, monotonicMs());
    Database working{file, store};
    StoreFile::useLog(working);
}

/// As if nothing had been copied yet.
constexpr const char* MARK_ALL = R"sql(
INSERT INTO mark(kind, object) SELECT 0, id FROM device;
INSERT INTO mark(kind, object) SELECT DISTINCT 1, device FROM attribute;
INSERT INTO mark(kind, object) SELECT 2, id FROM channel;
INSERT INTO mark(kind, object) SELECT DISTINCT 3, channel FROM state;
INSERT INTO mark(kind, object) SELECT DISTINCT 4, channel FROM alarm;
UPDATE keeping SET setting_seq = 0, value_seq = 0, event = 0, record = 0, values_at = 0;
)sql";

/// Nothing unless the file was filled since the boot: nothing in it is synced, so where the folder is no
/// memory and outlives a boot it may lack what the copy has.
std::optional<WorkingFile::Origin> recordOf(const std::string& file, const std::string& store) {
    if (StoreFile::applicationId(file, store) != Schema::WORKING_ID) {
        return std::nullopt;
    }
    Database working{file, store};
    Statement statement{working, "SELECT identity, copies FROM keeping WHERE boot = ?"};
    auto run = statement.with(velk::common::presentBoot());
    return run.next() ? std::optional{WorkingFile::Origin{run.integer(0), run.integer(1)}} : std::nullopt;
}

/// Whether what the file holds contradicts itself; one that is not filled holds nothing.
bool isCorrupt(const std::string& file, const std::string& store) {
    if (StoreFile::applicationId(file, store) != Schema::WORKING_ID) {
        return false;
    }
    try {
        Database working{file, store};
        Schema::checkSound(working);
        return false;
    } catch (const boost::system::system_error& failure) {
        if (CorruptFile::isBehind(failure.code())) {
            return true;
        }
        throw;
    }
}

void removeFormerlySetAside(const std::string& file) {
    const auto start = fs::path{file}.filename().string() + ".corrupt-";
    std::error_code error;
    for (const auto& entry : fs::directory_iterator{fs::path{file}.parent_path(), error}) {
        if (entry.path().filename().string().rfind(start, 0) == 0) {
            fs::remove(entry.path(), error);
        }
    }
}

void setAside(const std::string& file, const std::string& kept, const std::string& store) {
    removeFormerlySetAside(file);
    const auto name = CorruptFile::move(file, store);
    std::cerr << "WARNING - store " + store + ": the file in memory was corrupt and is now " + name +
                     "; it is filled from " + kept + ", as that was copied last\n"
              << std::flush;
}

} // namespace

std::string WorkingFile::pathIn(const std::string& folder, const std::string& kept) {
    return folder + "/tess-" + digitsOf(kept) + ".db";
}

std::string WorkingFile::place(const std::string& folder, const std::string& kept, const std::string& store) {
    std::error_code error;
    if (!fs::is_directory(folder, error)) {
        if (fs::is_directory(fs::path{folder}.parent_path(), error)) {
            velk::common::GroupFile::makeFolder(folder, error);
        } else {
            error = std::make_error_code(std::errc::no_such_file_or_directory);
        }
    }
    if (error) {
        throwSystemFailure(store, error.value(), "cannot make " + folder + ", where programs work on it");
    }
    return pathIn(folder, kept);
}

bool WorkingFile::isFilledFrom(const std::string& file, const std::string& store, std::int64_t identity,
                               InterprocessLock& writers) {
    const auto known = BreakableReads{writers}.run([&] { return recordOf(file, store); });
    return known && known->identity == identity;
}

bool WorkingFile::belongsTo(const std::string& file, const std::string& store,
                            const KeptStore::Record& record) {
    const auto known = recordOf(file, store);
    return known && known->identity == record.identity &&
           (known->copies == record.copies || known->copies + 1 == record.copies);
}

void WorkingFile::prepare(const std::string& file, const std::string& kept, const std::string& store,
                          InterprocessLock& writers, bool alone, std::chrono::milliseconds longestWait) {
    FileLock keeper{kept + "-keeper", store};
    keeper.awaitAlone(longestWait); // while it is filled nothing may be copied
    KeptStore copy{kept, store};
    InterprocessHold hold{writers};
    const bool corrupt = alone && isCorrupt(file, store);
    if (!corrupt && belongsTo(file, store, copy.record())) {
        return;
    }
    if (!corrupt && recordOf(file, store)) {
        std::cerr << "WARNING - store " + store + ": " + kept + " was replaced by another one; what was in " +
                         file + " is dropped\n"
                  << std::flush;
    }
    Schema::checkSound(copy.connection());
    if (corrupt) {
        setAside(file, kept, store);
    }
    fill(file, copy);
}

std::optional<WorkingFile::Origin> WorkingFile::adopt(const std::string& file, const std::string& store,
                                                      std::chrono::milliseconds longestWait) {
    if (isCorrupt(file, store)) {
        return std::nullopt;
    }
    const auto origin = recordOf(file, store);
    if (origin) {
        SharedPage page{file + "-lock", store};
        InterprocessLock writers{page, store, longestWait};
        InterprocessHold hold{writers};
        Database working{file, store};
        Transaction transaction{working, Transaction::Kind::write};
        working.execute(MARK_ALL);
        transaction.commit();
    }
    return origin;
}

void WorkingFile::renewIndex(Database& working) {
    const auto isRight = [&working] {
        Statement statement{working, "SELECT 1 FROM sqlite_master WHERE name = 'channel_soon' AND sql = ?"};
        auto run = statement.with(std::string{KeptSchema::SOON_INDEX});
        return run.next();
    };
    if (isRight()) {
        return;
    }
    Transaction transaction{working, Transaction::Kind::write};
    working.execute("DROP INDEX channel_soon");
    working.execute(KeptSchema::SOON_INDEX);
    transaction.commit();
}

void WorkingFile::remove(const std::string& file) {
    for (const char* part : {"", "-wal", "-shm", "-journal"}) {
        std::error_code error;
        fs::remove(file + part, error);
    }
}

} // namespace tessapi
