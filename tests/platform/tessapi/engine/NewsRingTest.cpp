#include "platform/tessapi/engine/NewsRing.h"

#include "platform/tessapi/engine/SharedPage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace {

using qz::CValue;
using tessapi::Change;
using tessapi::FileSeat;
using tessapi::NewsRing;
using tessapi::SharedPage;

constexpr std::int64_t SLOTS = NewsRing::SLOTS;
constexpr std::size_t MANY = 10'000;

Change change(std::int64_t seq) {
    return {seq, Change::Kind::value, static_cast<std::uint64_t>(seq) + 7, CValue{std::int64_t{seq}},
            seq * 3};
}

std::vector<Change> changes(std::int64_t first, std::int64_t last) {
    std::vector<Change> made;
    for (auto seq = first; seq <= last; ++seq) {
        made.push_back(change(seq));
    }
    return made;
}

bool isSame(const Change& a, const Change& b) {
    return a.seq == b.seq && a.kind == b.kind && a.object == b.object && a.value == b.value &&
           a.timeMs == b.timeMs;
}

bool areSame(const std::vector<Change>& a, const std::vector<Change>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), isSame);
}

class NewsRingTest : public ::testing::Test {
protected:
    NewsRingTest() {
        ring.belongTo({1, 100});
        ring.begin(0);
    }

    NewsRing::Words& words() { return page.words().news; }
    NewsRing::Slot& slotOf(std::int64_t seq) {
        return words().slots[static_cast<std::size_t>(seq) % NewsRing::SLOTS];
    }

    SharedPage page;
    NewsRing ring{page, std::numeric_limits<std::int64_t>::max()};
};

TEST_F(NewsRingTest, WhatWasPublishedIsFoundInOrder) {
    ring.publish(changes(1, 3), 10);
    ring.publish(changes(4, 5), 12);
    const auto found = ring.after(1, MANY);
    ASSERT_TRUE(found.has_value());
    EXPECT_TRUE(areSame(found->changes, changes(2, 5)));
    EXPECT_FALSE(found->more);
    EXPECT_EQ(found->generation, 12U);
    EXPECT_EQ(found->firstOfCommit, 4);
}

TEST_F(NewsRingTest, NothingIsNewToWhoHasTheNewestChangeOrALaterOne) {
    ring.publish(changes(1, 3), 10);
    for (const std::int64_t seq : {3, 4, 1'000'000}) {
        const auto found = ring.after(seq, MANY);
        ASSERT_TRUE(found.has_value());
        EXPECT_TRUE(found->changes.empty());
        EXPECT_FALSE(found->more);
    }
}

TEST_F(NewsRingTest, NoMoreThanTheLimitIsTakenAtATime) {
    ring.publish(changes(1, 9), 10);
    const auto found = ring.after(2, 4);
    ASSERT_TRUE(found.has_value());
    EXPECT_TRUE(areSame(found->changes, changes(3, 6)));
    EXPECT_TRUE(found->more);
}

TEST_F(NewsRingTest, TheNewestChangesStayWhenItHasGoneRound) {
    for (std::int64_t seq = 1; seq <= 3 * SLOTS; seq += 2) {
        ring.publish(changes(seq, seq + 1), 10);
    }
    const auto all = ring.after(2 * SLOTS, MANY);
    ASSERT_TRUE(all.has_value());
    EXPECT_TRUE(areSame(all->changes, changes(2 * SLOTS + 1, 3 * SLOTS)));
    EXPECT_FALSE(ring.after(2 * SLOTS - 1, MANY).has_value());
}

TEST_F(NewsRingTest, OfACommitThatIsLongerThanItTheNewestChangesAreThere) {
    ring.publish(changes(1, SLOTS + 10), 10);
    EXPECT_TRUE(ring.after(10, MANY).has_value());
    EXPECT_FALSE(ring.after(9, MANY).has_value());
}

TEST_F(NewsRingTest, WhoLagsBehindByMoreThanTheLogKeepsIsSentThere) {
    NewsRing few{page, 3};
    few.belongTo({1, 100});
    ring.publish(changes(1, 10), 10);
    EXPECT_TRUE(few.after(7, MANY).has_value());
    EXPECT_FALSE(few.after(6, MANY).has_value());
}

TEST_F(NewsRingTest, AChangeThatAKilledWriterHasNotPublishedIsAHole) {
    ring.publish(changes(1, 3), 10);
    ring.publish(changes(5, 6), 14);
    EXPECT_FALSE(ring.after(2, MANY).has_value());
    EXPECT_FALSE(ring.after(3, MANY).has_value());
    const auto found = ring.after(4, MANY);
    ASSERT_TRUE(found.has_value());
    EXPECT_TRUE(areSame(found->changes, changes(5, 6)));
}

TEST_F(NewsRingTest, ASlotThatAKilledWriterHasLeftTornIsNotRead) {
    ring.publish(changes(1, 5), 10);
    slotOf(4).stamp |= 1U;
    EXPECT_FALSE(ring.after(2, MANY).has_value());
    EXPECT_TRUE(ring.after(4, MANY).has_value());
}

TEST_F(NewsRingTest, ASlotOfAnEarlierRoundIsNotTakenForTheMissingOne) {
    ring.publish(changes(1, SLOTS), 10);
    words().newest = SLOTS + 2; // a writer has died before the slots were written
    EXPECT_FALSE(ring.after(SLOTS, MANY).has_value());
}

TEST_F(NewsRingTest, AnotherFileHasNothingOfThisOne) {
    ring.publish(changes(1, 5), 10);
    for (const auto& file : {FileSeat::Identity{1, 101}, FileSeat::Identity{2, 100}}) {
        NewsRing other{page, SLOTS};
        other.belongTo(file);
        EXPECT_FALSE(other.after(2, MANY).has_value());
    }
}

TEST_F(NewsRingTest, ThisFileHasNothingOfTheOneThatHasReplacedIt) {
    ring.publish(changes(1, 5), 10);
    NewsRing other{page, SLOTS};
    other.belongTo({1, 101});
    other.begin(2);
    EXPECT_FALSE(ring.after(2, MANY).has_value());
    other.publish(changes(3, 4), 12);
    EXPECT_FALSE(ring.after(2, MANY).has_value());
    EXPECT_TRUE(areSame(other.after(2, MANY)->changes, changes(3, 4)));
    EXPECT_FALSE(other.after(1, MANY).has_value());
}

TEST_F(NewsRingTest, AFileThatGoesOnWithAnEarlierContentBeginsAnew) {
    ring.publish(changes(1, 9), 10);
    ring.begin(4);
    EXPECT_TRUE(ring.after(4, MANY)->changes.empty());
    EXPECT_FALSE(ring.after(3, MANY).has_value());
    ring.publish(changes(5, 5), 12);
    EXPECT_TRUE(areSame(ring.after(4, MANY)->changes, changes(5, 5)));
}

TEST_F(NewsRingTest, BeginningAgainWithTheSameContentKeepsIt) {
    ring.publish(changes(1, 9), 10);
    ring.begin(9);
    EXPECT_TRUE(areSame(ring.after(4, MANY)->changes, changes(5, 9)));
}

TEST_F(NewsRingTest, AKilledBeginningLeavesNothingToAnybody) {
    ring.publish(changes(1, 3), 10);
    words().inode = 0;
    EXPECT_FALSE(ring.after(2, MANY).has_value());
    ring.publish(changes(4, 4), 12);
    EXPECT_TRUE(areSame(ring.after(3, MANY)->changes, changes(4, 4)));
}

TEST_F(NewsRingTest, WithoutAFileNothingIsThere) {
    NewsRing none{page, SLOTS};
    words().inode = 0;
    EXPECT_FALSE(none.after(0, MANY).has_value());
}

TEST_F(NewsRingTest, ValuesOfAllKindsArriveAsTheyWere) {
    const std::vector<CValue> values{CValue{},
                                     CValue{true},
                                     CValue{std::int32_t{-5}},
                                     CValue{std::int64_t{-5'000'000'000}},
                                     CValue{std::uint32_t{5}},
                                     CValue{std::uint64_t{1} << 63U},
                                     CValue{-0.0F},
                                     CValue{1e300},
                                     CValue{qz::CTimestamp{12, "%c"}},
                                     CValue{"a text of 31 letters, no more.."},
                                     CValue{CValue::Bytes{}}};
    std::vector<Change> sent;
    for (const auto& value : values) {
        sent.push_back({static_cast<std::int64_t>(sent.size()) + 1, Change::Kind::value, 9, value, 4});
    }
    sent.push_back({static_cast<std::int64_t>(sent.size()) + 1, Change::Kind::alarms, 9, CValue{2U}, 4});
    ring.publish(sent, 10);
    EXPECT_TRUE(areSame(ring.after(0, MANY)->changes, sent));
}

TEST_F(NewsRingTest, AValueThatDoesNotFitIsLeftToTheLog) {
    auto sent = changes(1, 3);
    sent[1].value = CValue{std::string(NewsRing::ROOM, 'x')}; // and the byte that tells its kind
    ring.publish(sent, 10);
    EXPECT_FALSE(ring.after(0, MANY).has_value());
    EXPECT_TRUE(ring.after(2, MANY).has_value());
}

TEST_F(NewsRingTest, TheNewestChangeIsToldOfThePresentGenerationOnly) {
    page.words().generation = 4;
    EXPECT_EQ(ring.newestIn(4), std::nullopt);
    ring.publish(changes(1, 3), 4);
    EXPECT_EQ(ring.newestIn(4), 3);
    EXPECT_EQ(ring.newestIn(2), std::nullopt);
    page.words().generation = 5; // another writer commits
    EXPECT_EQ(ring.newestIn(4), std::nullopt);
    EXPECT_EQ(ring.newestIn(5), std::nullopt);
    page.words().generation = 6; // and has not told yet
    EXPECT_EQ(ring.newestIn(6), std::nullopt);
    ring.publish(changes(4, 4), 6);
    EXPECT_EQ(ring.newestIn(6), 4);
    ring.belongTo({1, 101});
    EXPECT_EQ(ring.newestIn(6), std::nullopt) << "of another file";
}

TEST_F(NewsRingTest, ACommitWithoutNewsHasTheSameNewestChangeUnlessOneBeforeItWasNotTold) {
    page.words().generation = 4;
    ring.publish(changes(1, 3), 4);
    page.words().generation = 6;
    ring.pass(4, 6);
    EXPECT_EQ(ring.newestIn(6), 3);
    EXPECT_TRUE(ring.after(1, MANY)->newestCommit().empty());
    page.words().generation = 10; // the commit that has led to 8 was not told
    ring.pass(8, 10);
    EXPECT_EQ(ring.newestIn(10), std::nullopt);
}

TEST_F(NewsRingTest, ALookIntoTheLogIsDueUntilOneHasFoundNothingNew) {
    EXPECT_TRUE(ring.isLookDue(5));
    ring.noteLook(5);
    EXPECT_FALSE(ring.isLookDue(5));
    EXPECT_FALSE(ring.isLookDue(6));
    EXPECT_TRUE(ring.isLookDue(4)); // somebody else has found a change that is not here
}

TEST_F(NewsRingTest, ReadersBesideAWriterGetWholeChangesOnly) {
    constexpr std::int64_t LAST = 60'000;
    std::atomic<int> wrong{0};
    std::atomic<std::int64_t> taken{0};
    const auto read = [&] {
        for (std::int64_t seq = 0; seq < LAST;) {
            const auto found = ring.after(seq, 64);
            if (!found) { // the writer was a round ahead
                seq = std::max(seq, words().newest.load() - SLOTS / 2);
                continue;
            }
            for (const auto& one : found->changes) {
                wrong += isSame(one, change(++seq)) ? 0 : 1;
                ++taken;
            }
        }
    };
    std::thread one{read};
    std::thread other{read};
    for (std::int64_t seq = 1; seq <= LAST; seq += 3) {
        ring.publish(changes(seq, seq + 2), 10);
    }
    one.join();
    other.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(taken, 0);
}

} // namespace
