#include "daemon/history/SampleRing.h"

#include "daemon/history/ValueCoding.h"

#include <gtest/gtest.h>

#include <limits>

namespace velk::daemon {
namespace {

constexpr std::int64_t T0 = 1'700'000'000'000;

ByteReader readerOf(const ByteVector& bytes) {
    return ByteReader{viewOf(bytes, 0)};
}

TEST(ByteCodingTest, NumbersOfAllSizesComeBack) {
    ByteVector bytes;
    const std::vector<std::int64_t> numbers{0,
                                            1,
                                            -1,
                                            63,
                                            -64,
                                            64,
                                            1'000'000,
                                            std::numeric_limits<std::int64_t>::max(),
                                            std::numeric_limits<std::int64_t>::min()};
    for (const std::int64_t number : numbers) {
        putVarint(bytes, zigzag(number));
    }
    putRaw(bytes, 1.5F);
    putText(bytes, "abc");
    ByteReader reader = readerOf(bytes);
    for (const std::int64_t number : numbers) {
        EXPECT_EQ(unzigzag(reader.varint()), number);
    }
    EXPECT_EQ(reader.raw<float>(), 1.5F);
    EXPECT_EQ(reader.text(), "abc");
    EXPECT_THROW(reader.varint(), std::runtime_error);
}

TEST(ByteCodingTest, WhatEndsTooEarlyOrNeverThrows) {
    const ByteVector endless(11, 0xFF);
    ByteReader reader = readerOf(endless);
    EXPECT_THROW(reader.varint(), std::runtime_error);
    const ByteVector shortText{5, 'a'};
    ByteReader text = readerOf(shortText);
    EXPECT_THROW(text.text(), std::runtime_error);
}

TEST(SampleRingTest, ValuesOfEachTypeComeBackInTheirOrder) {
    qz::CTimestamp stamp;
    stamp.seconds = -5;
    const std::vector<std::pair<qz::CValue, qz::CValue>> pairs{
        {qz::CValue{true}, qz::CValue{false}},
        {qz::CValue{-7}, qz::CValue{2'000'000'000}},
        {qz::CValue{std::int64_t{-1} << 62}, qz::CValue{std::int64_t{5}}},
        {qz::CValue{4'000'000'000U}, qz::CValue{0U}},
        {qz::CValue{~std::uint64_t{0}}, qz::CValue{std::uint64_t{1}}},
        {qz::CValue{230.1F}, qz::CValue{-0.0F}},
        {qz::CValue{1.0 / 3.0}, qz::CValue{1e300}},
        {qz::CValue{stamp}, qz::CValue{qz::CTimestamp{}}},
        {qz::CValue{"ein Wört"}, qz::CValue{""}},
    };
    for (const auto& [first, second] : pairs) {
        SampleRing ring{*first.type()};
        ring.add(T0, first);
        ring.add(T0 + 1500, {});
        ring.add(T0 + 1500, second);
        const std::vector<Sample> expected{{T0, first}, {T0 + 1500, {}}, {T0 + 1500, second}};
        EXPECT_EQ(ring.samples(), expected) << first;
    }
}

TEST(SampleRingTest, AFloatEverySecondTakesSixBytesAndAStateThree) {
    SampleRing floats{qz::datatype::float32};
    SampleRing states{qz::datatype::uint32};
    for (int i = 0; i < 3600; ++i) {
        floats.add(T0 + i * 1000, qz::CValue{static_cast<float>(i)});
        states.add(T0 + i * 1000, qz::CValue{static_cast<std::uint32_t>(i % 7)});
    }
    // The room for what comes next is an eighth.
    EXPECT_LE(floats.heapBytes(), 3600U * 6 * 9 / 8 + 16);
    EXPECT_LE(states.heapBytes(), 3600U * 3 * 9 / 8 + 16);
}

TEST(SampleRingTest, OneValueTakesAlmostNothing) {
    SampleRing ring{qz::datatype::float32};
    ring.add(T0, qz::CValue{230.0F});
    EXPECT_LE(ring.heapBytes(), 24U);
}

TEST(SampleRingTest, WhatWasTheValueAtTheCutStaysKnown) {
    SampleRing ring{qz::datatype::int32};
    for (int i = 0; i < 10; ++i) {
        ring.add(T0 + i * 1000, qz::CValue{i});
    }
    ring.dropBefore(T0 + 4500);
    ASSERT_EQ(ring.size(), 6U);
    EXPECT_EQ(ring.oldestMs(), T0 + 4000);
    EXPECT_EQ(ring.samples().front(), (Sample{T0 + 4000, qz::CValue{4}}));
    EXPECT_EQ(ring.samples().back(), (Sample{T0 + 9000, qz::CValue{9}}));
    ring.dropBefore(T0 + 1'000'000);
    EXPECT_EQ(ring.samples(), (std::vector<Sample>{{T0 + 9000, qz::CValue{9}}}));
    ring.add(T0 + 10'000, qz::CValue{10});
    EXPECT_EQ(ring.samples().back(), (Sample{T0 + 10'000, qz::CValue{10}}));
}

TEST(SampleRingTest, MemoryComesBackWhenSamplesGo) {
    SampleRing ring{qz::datatype::float32};
    for (int i = 0; i < 100'000; ++i) {
        ring.add(T0 + i * 1000, qz::CValue{static_cast<float>(i)});
        ring.dropBefore(T0 + (i - 100) * 1000);
    }
    EXPECT_LT(ring.heapBytes(), 1200U);
    EXPECT_EQ(ring.samples().back().value, qz::CValue{99'999.0F});
    EXPECT_EQ(ring.size(), 101U);
}

TEST(SampleRingTest, TimesThatGoBackAreKeptAsTheyAre) {
    SampleRing ring{qz::datatype::boolean};
    ring.add(T0, qz::CValue{true});
    ring.add(T0 - 3'600'000, qz::CValue{false});
    ring.add(0, qz::CValue{true});
    ring.add(T0, qz::CValue{false});
    const std::vector<Sample> expected{{T0, qz::CValue{true}},
                                       {T0 - 3'600'000, qz::CValue{false}},
                                       {0, qz::CValue{true}},
                                       {T0, qz::CValue{false}}};
    EXPECT_EQ(ring.samples(), expected);
    ring.dropBefore(T0 - 1000);
    EXPECT_EQ(ring.samples().back(), expected.back());
}

TEST(SampleRingTest, StampsBeyondAllTimesCountAsTheFurthest) {
    SampleRing ring{qz::datatype::boolean};
    ring.add(std::numeric_limits<std::int64_t>::min(), qz::CValue{true});
    ring.add(std::numeric_limits<std::int64_t>::max(), qz::CValue{false});
    EXPECT_EQ(ring.samples().front().timeMs, -SampleRing::FURTHEST_MS);
    EXPECT_EQ(ring.samples().back().timeMs, SampleRing::FURTHEST_MS);
}

TEST(SampleRingTest, WhatIsSavedComesBackAlsoAfterSamplesWent) {
    SampleRing ring{qz::datatype::string};
    for (int i = 0; i < 50; ++i) {
        ring.add(T0 + i, qz::CValue{"text " + std::to_string(i)});
    }
    ring.dropBefore(T0 + 30);
    ByteVector file;
    ring.save(file);
    SampleRing loaded{qz::datatype::string};
    ByteReader reader = readerOf(file);
    loaded.load(reader);
    EXPECT_EQ(loaded.samples(), ring.samples());
    EXPECT_EQ(loaded.newestMs(), ring.newestMs());
    EXPECT_TRUE(reader.left().empty());
    ByteReader cut{viewOf(file, 0).substr(0, file.size() - 1)};
    EXPECT_THROW(loaded.load(cut), std::runtime_error);
    EXPECT_EQ(loaded.samples(), ring.samples());
}

TEST(KeptValueTest, ALongTextIsCutAtAWholeLetterAndBytesAreHexadecimal) {
    const std::string text = std::string(199, 'a') + "ü" + "rest";
    EXPECT_EQ(kept(qz::datatype::string, qz::CValue{text}), qz::CValue{std::string(199, 'a')});
    EXPECT_EQ(kept(qz::datatype::binary, qz::CValue{qz::CValue::Bytes{0xAB, 0x01}}), qz::CValue{"ab01"});
    EXPECT_FALSE(kept(qz::datatype::float32, qz::CValue{5}).isValid());
}

} // namespace
} // namespace velk::daemon
