#include "powerdistribution/handlers/LogCache.h"

#include <gtest/gtest.h>

#include <iostream>

namespace velk::powerdistribution::handlers {
namespace {

using Entry = InternalLogChunk::InternalLogEntry;

Entry entry(std::uint32_t id) {
    Entry made;
    made.id = id;
    made.code = 17;
    return made;
}

class LogCacheTest : public ::testing::Test {
protected:
    std::string append(std::uint32_t id) {
        ::testing::internal::CaptureStdout();
        cache.append(entry(id));
        return ::testing::internal::GetCapturedStdout();
    }

    std::vector<std::uint32_t> ids() const {
        std::vector<std::uint32_t> list;
        for (const Entry& kept : cache.entries()) {
            list.push_back(kept.id);
        }
        return list;
    }

    LogCache cache;
};

using Ids = std::vector<std::uint32_t>;

TEST_F(LogCacheTest, IsEmptyAtFirstAndAfterInit) {
    cache.init();
    EXPECT_EQ(cache.entries().size(), 0U);
    EXPECT_EQ(cache.lastId(), 0U);
    EXPECT_EQ(cache.firstId(), 0U);
}

TEST_F(LogCacheTest, AppendKeepsTheOrderOfArrivalAndTheFirstAndLastNumber) {
    append(5);
    append(9);
    append(7);
    EXPECT_EQ(ids(), (Ids{5, 9, 7}));
    EXPECT_EQ(cache.firstId(), 5U);
    EXPECT_EQ(cache.lastId(), 7U) << "the last one counts, whatever its number";
}

TEST_F(LogCacheTest, AppendPrintsTheEntryWithSixBlanks) {
    EXPECT_EQ(append(5), "      00000005 1970-01-01T00:00:00.000Z 00017 00 00 00000 00\n");
}

TEST_F(LogCacheTest, ClearDropsWhatIsOlder) {
    append(5);
    append(6);
    append(8);
    cache.clear(7);
    EXPECT_EQ(ids(), Ids{8});
    EXPECT_EQ(cache.firstId(), 7U) << "the asked number, not that of the entry";
    EXPECT_EQ(cache.lastId(), 8U);
}

TEST_F(LogCacheTest, ClearKeepsTheEntryWithTheVeryNumber) {
    append(5);
    append(6);
    append(8);
    cache.clear(6);
    EXPECT_EQ(ids(), (Ids{6, 8}));
    EXPECT_EQ(cache.firstId(), 6U);
}

TEST_F(LogCacheTest, ClearStopsAtTheFirstEntryThatIsNewEnough) {
    append(5);
    append(8);
    append(6);
    cache.clear(7);
    EXPECT_EQ(ids(), (Ids{8, 6}));
}

TEST_F(LogCacheTest, ClearBelowAllNumbersChangesNothing) {
    append(5);
    append(6);
    cache.clear(3);
    EXPECT_EQ(ids(), (Ids{5, 6}));
    EXPECT_EQ(cache.firstId(), 5U);
}

TEST_F(LogCacheTest, ClearAboveAllNumbersEmptiesTheCacheAndKeepsTheLastNumber) {
    append(5);
    append(6);
    cache.clear(10);
    EXPECT_EQ(ids(), Ids{});
    EXPECT_EQ(cache.firstId(), 10U);
    EXPECT_EQ(cache.lastId(), 6U);
}

TEST_F(LogCacheTest, ClearZeroForgetsTheNumbers) {
    append(5);
    cache.clear(0);
    EXPECT_EQ(ids(), Ids{});
    EXPECT_EQ(cache.firstId(), 0U);
    EXPECT_EQ(cache.lastId(), 0U);
}

TEST_F(LogCacheTest, ClearZeroOfAnEmptiedCacheForgetsTheNumbersToo) {
    append(5);
    cache.clear(6);
    cache.clear(0);
    EXPECT_EQ(cache.firstId(), 0U);
    EXPECT_EQ(cache.lastId(), 0U);
}

TEST_F(LogCacheTest, ClearOfAnEmptyCacheChangesNothing) {
    cache.clear(4);
    EXPECT_EQ(cache.firstId(), 0U);
}

TEST_F(LogCacheTest, StatusPrintsTheNumberTheFirstAndTheLastEntry) {
    append(5);
    append(6);
    append(7);
    ::testing::internal::CaptureStdout();
    cache.status();
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "Event Log contains 3 events :\n"
              "Start 00000005 1970-01-01T00:00:00.000Z 00017 00 00 00000 00\n"
              "End   00000007 1970-01-01T00:00:00.000Z 00017 00 00 00000 00\n");
}

TEST_F(LogCacheTest, StatusPrintsASingleEntryTwice) {
    append(5);
    ::testing::internal::CaptureStdout();
    cache.status();
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "Event Log contains 1 events :\n"
              "Start 00000005 1970-01-01T00:00:00.000Z 00017 00 00 00000 00\n"
              "End   00000005 1970-01-01T00:00:00.000Z 00017 00 00 00000 00\n");
}

} // namespace
} // namespace velk::powerdistribution::handlers
