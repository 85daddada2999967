#include "platform/tessapi/network/HeardWrites.h"

#include "platform/tessapi/network/NewsFeed.h"

#include <gtest/gtest.h>

#include <vector>

namespace tessapi::network {
namespace {

using qz::CValue;

constexpr std::uint64_t WRITER = 7;
constexpr std::uint64_t OTHER = 8;
/// Where the history of a second server begins.
constexpr std::int64_t BASE = 1'000'000;

TEST(HeardWritesTest, WriteThatComesAgainOnAnotherServerIsARepeat) {
    HeardWrites heard;
    for (std::uint64_t number = 1; number <= 5; ++number) {
        EXPECT_FALSE(heard.isRepeat({WRITER, number}, static_cast<std::int64_t>(number)));
    }
    EXPECT_TRUE(heard.isRepeat({WRITER, 4}, BASE + 1));
    EXPECT_TRUE(heard.isRepeat({WRITER, 5}, BASE + 2));
    EXPECT_FALSE(heard.isRepeat({WRITER, 6}, BASE + 3));
}

TEST(HeardWritesTest, WritersAreToldApart) {
    HeardWrites heard;
    EXPECT_FALSE(heard.isRepeat({WRITER, 5}, 1));
    EXPECT_FALSE(heard.isRepeat({OTHER, 1}, 2));
    EXPECT_FALSE(heard.isRepeat({OTHER, 2}, BASE + 1)) << "it was not heard from the first server";
    EXPECT_TRUE(heard.isRepeat({WRITER, 5}, BASE + 2));
}

TEST(HeardWritesTest, AllChangesOfOneCallAreHeard) {
    HeardWrites heard;
    for (int change = 0; change < 3; ++change) {
        EXPECT_FALSE(heard.isRepeat({WRITER, 1}, 3));
    }
    for (int change = 0; change < 3; ++change) {
        EXPECT_TRUE(heard.isRepeat({WRITER, 1}, BASE + 3));
    }
}

TEST(HeardWritesTest, SaysTheSameWhenTheListenerReadsTheLogAgain) {
    HeardWrites heard;
    const std::vector<std::pair<std::uint64_t, std::int64_t>> log{
        {1, 1}, {2, 2}, {2, BASE + 1}, {3, BASE + 2}};
    for (int round = 0; round < 2; ++round) {
        for (const auto& [number, seq] : log) {
            EXPECT_EQ(heard.isRepeat({WRITER, number}, seq), seq == BASE + 1) << seq << " in round " << round;
        }
    }
}

TEST(HeardWritesTest, RepeatsAreFoundOverSeveralServers) {
    HeardWrites heard;
    EXPECT_FALSE(heard.isRepeat({WRITER, 3}, 3));
    EXPECT_TRUE(heard.isRepeat({WRITER, 2}, BASE + 1));
    EXPECT_TRUE(heard.isRepeat({WRITER, 3}, BASE + 2));
    EXPECT_FALSE(heard.isRepeat({WRITER, 4}, BASE + 3));
    EXPECT_TRUE(heard.isRepeat({WRITER, 3}, 2 * BASE + 1));
    EXPECT_TRUE(heard.isRepeat({WRITER, 4}, 2 * BASE + 2));
    EXPECT_FALSE(heard.isRepeat({WRITER, 5}, 2 * BASE + 3));
}

TEST(HeardWritesTest, WhatWasWrittenBeforeTheListenerBeganIsARepeat) {
    HeardWrites heard;
    heard.begin({{WRITER, 5}}, 100);
    heard.pass(100);
    EXPECT_TRUE(heard.isRepeat({WRITER, 5}, BASE + 1));
    EXPECT_FALSE(heard.isRepeat({WRITER, 6}, BASE + 2));
}

TEST(HeardWritesTest, WhatAnEarlierListenerHasStillToHearIsNone) {
    HeardWrites heard;
    heard.begin({{WRITER, 5}}, 100);
    heard.pass(99); // of the change 100 somebody else has not heard yet
    EXPECT_FALSE(heard.isRepeat({WRITER, 5}, 100));
}

TEST(HeardWritesTest, EntriesWithoutAMarkAreNews) {
    HeardWrites heard;
    EXPECT_FALSE(heard.isRepeat({}, 1));
    EXPECT_FALSE(heard.isRepeat({}, 2));
    EXPECT_EQ(heard.size(), 0U);
}

TEST(HeardWritesTest, WritersThatWroteLongAgoAreForgotten) {
    HeardWrites heard;
    for (std::uint64_t writer = 1; writer <= HeardWrites::MOST + 1; ++writer) {
        heard.isRepeat({writer, 1}, static_cast<std::int64_t>(writer));
    }
    EXPECT_EQ(heard.size(), HeardWrites::MOST);
    EXPECT_TRUE(heard.isRepeat({2, 1}, BASE));
    EXPECT_FALSE(heard.isRepeat({1, 1}, BASE + 1));
}

std::vector<NewsItem> numbered(std::int64_t first, std::int64_t last) {
    std::vector<NewsItem> items;
    for (auto seq = first; seq <= last; ++seq) {
        items.push_back({{seq, Change::Kind::value, 1, CValue{true}, 0}, {}, seq});
    }
    return items;
}

TEST(NewsFeedTest, GivesWhatFollowsAndKeepsTheRest) {
    NewsFeed feed;
    feed.add(numbered(5, 9));
    EXPECT_EQ(feed.takeAfter(6, 2).size(), 2U);
    const auto rest = feed.takeAfter(8, 10);
    ASSERT_EQ(rest.size(), 1U);
    EXPECT_EQ(rest[0].change.seq, 9);
    EXPECT_TRUE(feed.takeAfter(9, 10).empty());
}

TEST(NewsFeedTest, WhatDoesNotFollowIsNoNews) {
    NewsFeed feed;
    feed.add(numbered(5, 9));
    EXPECT_TRUE(feed.takeAfter(3, 10).empty());
    EXPECT_TRUE(feed.takeAfter(4, 10).empty()) << "the store is asked from there on";
}

TEST(NewsFeedTest, StopsAtAGap) {
    NewsFeed feed;
    feed.add(numbered(1, 2));
    feed.add(numbered(4, 5));
    EXPECT_EQ(feed.takeAfter(0, 10).size(), 2U);
}

} // namespace
} // namespace tessapi::network
