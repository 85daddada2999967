#include "platform/tessapi/network/SentWrites.h"

#include <gtest/gtest.h>

#include <chrono>
#include <utility>
#include <vector>

namespace tessapi::network {
namespace {

using namespace std::chrono_literals;
using qz::CValue;
using Sent = std::vector<std::pair<std::uint64_t, std::vector<std::int32_t>>>;

/// Of which every write counts.
constexpr std::uint64_t ACTION = 1;
constexpr std::uint64_t VOLTAGE = 2;
constexpr std::uint64_t CURRENT = 3;

class SentWritesTest : public ::testing::Test {
protected:
    void add(std::uint64_t number, std::vector<std::pair<std::uint64_t, std::int32_t>> values,
             std::chrono::nanoseconds now) {
        Outbox::Batch batch{number, false, {}};
        for (const auto& [channel, value] : values) {
            batch.changes.push_back({0, Change::Kind::value, channel, CValue{value}, 0});
        }
        sent.add(std::move(batch), now);
        last = now;
    }

    /// Numbers and values of what is taken.
    Sent takeAfter(std::uint64_t done) {
        Sent taken;
        for (const auto& batch : sent.takeAfter(done, last)) {
            taken.push_back({batch.number, {}});
            for (const auto& change : batch.changes) {
                taken.back().second.push_back(change.value.as_int32());
            }
        }
        return taken;
    }

    SentWrites sent{[](std::uint64_t channel) { return channel == ACTION; }};
    std::chrono::nanoseconds last{0}; ///< write
};

TEST_F(SentWritesTest, OfLongWritesAsManyAreRememberedAsThereAreBytesFor) {
    for (std::uint64_t number = 1; number <= 5; ++number) {
        const CValue text{std::string(SentWrites::MOST_BYTES / 4, 'x')};
        sent.add({number, false, {{0, Change::Kind::value, ACTION, text, 0}}}, 1s);
    }
    EXPECT_EQ(sent.size(), 3U);
    EXPECT_EQ(sent.takeAfter(0, 1s).front().number, 3U);
    add(6, {{ACTION, 6}}, 1s);
    EXPECT_EQ(sent.size(), 1U) << "what was taken takes no room any more";
}

TEST_F(SentWritesTest, GivesWhatTheServerDoesNotKnowInOrderAndOnce) {
    for (std::int32_t number = 1; number <= 4; ++number) {
        add(static_cast<std::uint64_t>(number), {{ACTION, number}, {VOLTAGE, 10 * number}}, 1s);
    }
    EXPECT_EQ(takeAfter(2), (Sent{{3, {3, 30}}, {4, {4, 40}}}));
    EXPECT_EQ(takeAfter(2), Sent{});
    EXPECT_EQ(sent.size(), 4U);
}

TEST_F(SentWritesTest, OfWhatIsOlderThanAMinuteTheNewestMeasuresCount) {
    add(1, {{VOLTAGE, 1}, {CURRENT, 1}, {ACTION, 1}}, 0s);
    add(2, {{VOLTAGE, 2}}, 1s);
    add(3, {{ACTION, 3}}, 2s);
    add(4, {{VOLTAGE, 4}, {VOLTAGE, 5}}, 3s);
    add(5, {{ACTION, 6}}, 70s);
    EXPECT_EQ(sent.size(), 3U);
    EXPECT_EQ(takeAfter(0), (Sent{{1, {1}}, {4, {5}}, {5, {6}}}));
    EXPECT_EQ(sent.size(), 0U);
}

TEST_F(SentWritesTest, ActionDoesNotComeBackAfterAMinuteAlthoughNothingWasWrittenSince) {
    add(1, {{ACTION, 1}, {VOLTAGE, 1}}, 0s);
    add(2, {{ACTION, 2}}, 30s);
    last = 80s;
    EXPECT_EQ(takeAfter(0), (Sent{{1, {1}}, {2, {2}}})) << "the voltage of the first, and the second action";
    add(3, {{ACTION, 3}}, 90s);
    last = 3600s;
    EXPECT_EQ(takeAfter(0), Sent{});
}

TEST_F(SentWritesTest, ServerThatKnowsOldValuesIsNotGivenThem) {
    add(1, {{VOLTAGE, 1}}, 0s);
    add(2, {{CURRENT, 2}}, 1s);
    add(3, {{ACTION, 3}}, 70s);
    EXPECT_EQ(takeAfter(1), (Sent{{2, {2}}, {3, {3}}}));
    EXPECT_EQ(takeAfter(0), (Sent{{1, {1}}}));
}

TEST_F(SentWritesTest, OfTooManyTheOldestAge) {
    const std::vector<std::pair<std::uint64_t, std::int32_t>> many(SentWrites::MOST, {ACTION, 1});
    add(1, {{ACTION, 1}}, 0s);
    add(2, {{VOLTAGE, 2}}, 0s);
    add(3, many, 0s);
    EXPECT_EQ(sent.size(), SentWrites::MOST + 1);
    EXPECT_EQ(takeAfter(0).front(), (Sent::value_type{2, {2}}));
}

TEST_F(SentWritesTest, OfTooManyChannelsTheOldestValuesGo) {
    for (std::uint64_t i = 1; i <= SentWrites::MOST + 1; ++i) {
        add(i, {{i + 100, 1}}, 0s);
    }
    add(SentWrites::MOST + 2, {{ACTION, 1}}, 70s);
    const auto taken = takeAfter(0);
    EXPECT_EQ(taken.size(), SentWrites::MOST + 1);
    EXPECT_EQ(taken.front().first, 2U);
}

} // namespace
} // namespace tessapi::network
