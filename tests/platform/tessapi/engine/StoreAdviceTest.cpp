#include "platform/tessapi/StoreAdvice.h"

#include "platform/tessapi/StoreBrowser.h"
#include "platform/tessapi/engine/StoreError.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <sqlite3.h>

namespace {

using boost::system::error_code;
using tessapi::storeAdvice;
using tessapi::StoreFault;

std::string adviceFor(StoreFault fault) {
    return storeAdvice({static_cast<int>(fault), tessapi::storeCategory()});
}

std::string adviceForDatabase(int code) {
    return storeAdvice({code, tessapi::sqliteCategory()});
}

std::string adviceForSystem(int code) {
    return storeAdvice({code, boost::system::system_category()});
}

TEST(StoreAdviceTest, AStoreThatIsNotThereAsksForTheDaemon) {
    EXPECT_EQ(adviceFor(StoreFault::missing), "is powerdistributiond running, and with this store?");
    EXPECT_EQ(adviceForSystem(ENOENT), "is powerdistributiond running, and with this store?");
}

TEST(StoreAdviceTest, AStoreThatThisUserMayNotOpenNamesTheGroup) {
    const std::string group{"is this user in the group that owns the store (ls -l)?"};
    EXPECT_EQ(adviceForSystem(EACCES), group);
    EXPECT_EQ(adviceForDatabase(SQLITE_READONLY_DIRECTORY), group);
    EXPECT_EQ(adviceForDatabase(SQLITE_CANTOPEN), group);
}

TEST(StoreAdviceTest, ADamagedStoreTellsHowToGoOn) {
    EXPECT_EQ(
        adviceForDatabase(SQLITE_CORRUPT_INDEX),
        "stop powerdistributiond, set the file aside, \"tess import\" what \"tess export\" has kept, and "
        "start powerdistributiond");
    EXPECT_EQ(adviceFor(StoreFault::corrupt), adviceForDatabase(SQLITE_NOTADB));
}

TEST(StoreAdviceTest, AFullDiskAsksForSpace) {
    EXPECT_EQ(adviceForDatabase(SQLITE_FULL).find("make space"), 0u);
    EXPECT_EQ(adviceForSystem(ENOSPC).find("make space"), 0u);
    EXPECT_EQ(adviceForDatabase(SQLITE_IOERR_SHMSIZE).find("make space"), 0u) << "of a folder in memory";
    EXPECT_EQ(adviceForDatabase(SQLITE_IOERR_READ), "");
}

TEST(StoreAdviceTest, AServerThatIsAwayAsksForTheServer) {
    const std::string server{"is the store's server running, and does TESS_URL lead to it?"};
    EXPECT_EQ(adviceFor(StoreFault::unreachable), server);
    EXPECT_EQ(adviceForSystem(ECONNREFUSED), server);
}

TEST(StoreAdviceTest, AStoreOfAnotherReleaseTellsTheWayOut) {
    EXPECT_EQ(
        adviceFor(StoreFault::wrongVersion),
        "all programs must be of one release; \"tess export\" of the one that made the store and \"tess "
        "import\" of the other, into an empty store, take it over");
    EXPECT_EQ(adviceFor(StoreFault::otherRelease), "all programs must be of one release");
}

TEST(StoreAdviceTest, NothingIsSaidWhereNobodyKnows) {
    EXPECT_EQ(adviceForSystem(EDOM), "");
    EXPECT_EQ(adviceForDatabase(SQLITE_ABORT), "");
    EXPECT_EQ(adviceFor(StoreFault::forked), "");
}

} // namespace
