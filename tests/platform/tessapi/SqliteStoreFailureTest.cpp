#include "testing/FullDisk.h"
#include "tests/platform/tessapi/SqliteStoreTest.h"
#include "tests/platform/tessapi/WriterProcess.h"

#include <boost/system/system_error.hpp>

#include <optional>
#include <sqlite3.h>
#include <stdexcept>

namespace tessapi::contract {
namespace {

/// Stores that cannot be opened or written.
class SqliteStoreFailureTest : public SqliteStoreTest {
protected:
    void fill(const std::string& content) const { std::ofstream{file(), std::ios::binary} << content; }

    /// Runs statements on the file, which no one has open.
    void execute(const std::string& statements) const {
        sqlite3* database = nullptr;
        ASSERT_EQ(sqlite3_open(file().c_str(), &database), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(database, statements.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(database);
        EXPECT_EQ(sqlite3_close(database), SQLITE_OK);
    }

    /// The text of the failure to open `storeUrl`; fails the test when it opens.
    static std::string refusal(const std::string& storeUrl, bool create = true) {
        try {
            const StoreClient client{storeUrl, create};
        } catch (const boost::system::system_error& failure) {
            EXPECT_TRUE(failure.code().failed()) << failure.what();
            return failure.what();
        }
        ADD_FAILURE() << storeUrl << " was opened";
        return {};
    }

    void expectRefusedUntouched() const {
        const std::string before = contentOf(file());
        const std::string message = refusal(url());
        EXPECT_NE(message.find(file().string()), std::string::npos) << message;
        EXPECT_EQ(contentOf(file()), before);
    }
};

TEST_F(SqliteStoreFailureTest, AFileThatIsNoStoreIsRefusedAndLeftAsItIs) {
    fill("This is a letter to the maintainers and not a store.\n");
    expectRefusedUntouched();
}

TEST_F(SqliteStoreFailureTest, ALongFileThatIsNoStoreIsRefusedAndLeftAsItIs) {
    fill(std::string(100000, '\xA5'));
    expectRefusedUntouched();
}

TEST_F(SqliteStoreFailureTest, AStoreWithADamagedHeaderIsRefusedAndLeftAsItIs) {
    open().reset();
    std::filesystem::remove(file().string() + "-wal");
    std::string content = contentOf(file());
    ASSERT_GT(content.size(), 512u);
    content.replace(0, 512, 512, 'x');
    fill(content);
    expectRefusedUntouched();
}

TEST_F(SqliteStoreFailureTest, ADatabaseOfAnotherProgramIsRefusedAndLeftAsItIs) {
    execute(
        "CREATE TABLE invoice (number INTEGER PRIMARY KEY, total REAL); INSERT INTO invoice VALUES (1, 9.5)");
    expectRefusedUntouched();
}

TEST_F(SqliteStoreFailureTest, AStoreOfAnotherSchemaVersionIsRefusedAndLeftAsItIs) {
    open()->device("device");
    execute("PRAGMA user_version = 999");
    expectRefusedUntouched();
}

TEST_F(SqliteStoreFailureTest, AStoreThatIsNotThereIsNotMadeUnlessAskedFor) {
    const std::string message = refusal(url(), false);
    EXPECT_NE(message.find(file().string()), std::string::npos) << message;
    EXPECT_FALSE(std::filesystem::exists(file()));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(SqliteStoreFailureTest, AStoreThatIsThereOpensWithoutMakingIt) {
    const std::uint64_t device = open()->device("device");
    EXPECT_EQ(open(false)->store().deviceIdOf(uuidFor("device")), device);
}

TEST_F(SqliteStoreFailureTest, AFolderThatCannotBeWrittenIsNamed) {
    const std::string path = "/proc/velk/tess.db";
    const std::string message = refusal("sqlite:" + path);
    EXPECT_NE(message.find(path), std::string::npos) << message;
}

TEST_F(SqliteStoreFailureTest, AFileInThePlaceOfTheFolderIsNamed) {
    fill("in the way");
    const std::string path = (file() / "tess.db").string();
    const std::string message = refusal("sqlite:" + path);
    EXPECT_NE(message.find(path), std::string::npos) << message;
    EXPECT_EQ(contentOf(file()), "in the way");
}

TEST_F(SqliteStoreFailureTest, AFolderInThePlaceOfTheStoreIsNamed) {
    std::filesystem::create_directory(file());
    const std::string message = refusal(url());
    EXPECT_NE(message.find(file().string()), std::string::npos) << message;
}

TEST_F(SqliteStoreFailureTest, AStoreThatIsLockedTooLongIsAFailureThatNamesIt) {
    const auto client = open();
    const std::uint64_t device = client->device("device");
    client->channels().setDeviceAttribute(device, DeviceAttribute::model, "before");
    {
        WriterProcess holder{{url(), "lock", file().string()}};
        ASSERT_EQ(holder.readLine(), "locked");
        try {
            client->channels().setDeviceAttribute(device, DeviceAttribute::model, "while locked");
            ADD_FAILURE() << "the write was taken";
        } catch (const boost::system::system_error& failure) {
            EXPECT_NE(std::string{failure.what()}.find(file().string()), std::string::npos) << failure.what();
        }
        EXPECT_EQ(client->channels().getDeviceAttribute(device, DeviceAttribute::model), "before");
    }
    client->channels().setDeviceAttribute(device, DeviceAttribute::model, "after");
    EXPECT_EQ(client->channels().getDeviceAttribute(device, DeviceAttribute::model), "after");
}

TEST(StoreUrlTest, AUrlThatIsNoneIsAnInvalidArgument) {
    for (const char* bad :
         {"", "tess.db", "sqlite", "sqlite:", "memory", "memory:", "http://localhost", ":x"}) {
        EXPECT_THROW(TessAccessor::open("test", bad), std::invalid_argument) << bad;
    }
}

TEST_F(SqliteStoreFailureTest, AFullDiskIsAFailureThatNamesTheStoreAndLosesNothing) {
    const auto client = open();
    const std::uint64_t device = client->device("device");
    std::optional<std::string> message;
    int written = 0;
    {
        const velk::testing::FullDisk full{std::filesystem::file_size(file()) + 64 * 1024};
        for (; !message && written < 10000; ++written) {
            try {
                client->channels().setDeviceAttribute(device, DeviceAttribute::model,
                                                      std::to_string(written) + std::string(4096, ' '));
            } catch (const boost::system::system_error& failure) {
                message = failure.what();
                --written;
            }
        }
    }
    ASSERT_TRUE(message) << "all writes were taken";
    EXPECT_NE(message->find(file().string()), std::string::npos) << *message;
    const std::string kept = client->channels().getDeviceAttribute(device, DeviceAttribute::model);
    EXPECT_EQ(kept.substr(0, kept.find(' ')), std::to_string(written - 1));
    client->channels().setDeviceAttribute(device, DeviceAttribute::model, "goes on");
    EXPECT_EQ(client->channels().getDeviceAttribute(device, DeviceAttribute::model), "goes on");
}

} // namespace
} // namespace tessapi::contract
