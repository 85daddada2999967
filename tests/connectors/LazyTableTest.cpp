#include "powerdistribution/connectors/LazyTable.h"

#include <gtest/gtest.h>

#include <thread>

namespace velk::powerdistribution::connectors {
namespace {

/// Counts its objects.
struct Entry {
    Entry() { ++alive; }
    ~Entry() { --alive; }
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;
    static inline std::atomic<int> alive{0};
};

TEST(LazyTableTest, AnEntryIsMadeWhenItIsFirstAskedForAndKeepsItsPlace) {
    LazyTable<Entry> table{3};
    EXPECT_EQ(0, Entry::alive);
    Entry* const entry = &table.at(1);
    EXPECT_EQ(1, Entry::alive);
    EXPECT_EQ(entry, &table.at(1));
    EXPECT_EQ(1, Entry::alive);
}

TEST(LazyTableTest, TheEntriesInUseComeInTheOrderOfTheTable) {
    LazyTable<Entry> table{3};
    EXPECT_TRUE(table.used().empty());
    Entry* const last = &table.at(2);
    Entry* const first = &table.at(0);
    EXPECT_EQ((std::vector<Entry*>{first, last}), table.used());
    EXPECT_EQ(3u, table.size());
}

TEST(LazyTableTest, ThereIsNothingBeyondTheTable) {
    LazyTable<Entry> table{3};
    EXPECT_THROW(table.at(3), std::out_of_range);
}

TEST(LazyTableTest, TheEntriesGoWithTheTable) {
    {
        LazyTable<Entry> table{3};
        table.at(0);
        table.at(2);
        EXPECT_EQ(2, Entry::alive);
    }
    EXPECT_EQ(0, Entry::alive);
}

TEST(LazyTableTest, ThreadsThatMeetGetTheSameEntry) {
    for (int round = 0; round < 100; ++round) {
        LazyTable<Entry> table{1};
        Entry* other = nullptr;
        std::thread thread{[&] { other = &table.at(0); }};
        Entry* const own = &table.at(0);
        thread.join();
        EXPECT_EQ(own, other);
        EXPECT_EQ(1, Entry::alive);
    }
}

} // namespace
} // namespace velk::powerdistribution::connectors
