#include "platform/tessapi/engine/Database.h"
#include "platform/tessapi/engine/Statement.h"

#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

#include <sqlite3.h>
#include <string>

namespace tessapi::faults {
namespace {

TEST(StatementLimitTest, ATextOrBlobThatTheDatabaseCannotTakeIsRefusedAndNotStoredAsNothing) {
    Database database{":memory:", "memory:test"};
    database.execute("CREATE TABLE t(a)");
    Statement insert{database, "INSERT INTO t VALUES(?)"};
    sqlite3_limit(database.handle(), SQLITE_LIMIT_LENGTH, 1000);
    const auto refused = [&](const auto& argument) {
        try {
            insert.execute(argument);
            return std::string{};
        } catch (const boost::system::system_error& failure) {
            return std::string{failure.what()};
        }
    };
    EXPECT_EQ(refused(std::string(2000, 'x')), "store memory:test: string or blob too big [sqlite:18]");
    EXPECT_EQ(refused(qz::CValue::Bytes(2000, 1)), "store memory:test: string or blob too big [sqlite:18]");
    EXPECT_EQ(refused(qz::CValue{std::string(2000, 'x')}),
              "store memory:test: string or blob too big [sqlite:18]");
    insert.execute(std::string{"short"});
    Statement count{database, "SELECT count(*), max(a) FROM t"};
    auto rows = count.with();
    ASSERT_TRUE(rows.next());
    EXPECT_EQ(rows.integer(0), 1);
    EXPECT_EQ(rows.text(1), "short");
}

} // namespace
} // namespace tessapi::faults
