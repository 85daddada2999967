#include "platform/tessapi/engine/ValueCodec.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

namespace {

using qz::CValue;
using tessapi::ValueCodec::decode;
using tessapi::ValueCodec::encode;
using tessapi::ValueCodec::same;

TEST(ValueCodecTest, EveryAlternativeComesBackAsItWas) {
    const CValue values[] = {CValue{},
                             CValue{false},
                             CValue{true},
                             CValue{std::numeric_limits<std::int32_t>::min()},
                             CValue{std::numeric_limits<std::int64_t>::min()},
                             CValue{std::numeric_limits<std::uint32_t>::max()},
                             CValue{std::numeric_limits<std::uint64_t>::max()},
                             CValue{0.1F},
                             CValue{0.1},
                             CValue{qz::CTimestamp{-5, "%H"}},
                             CValue{std::string("a\0b", 3)},
                             CValue{""},
                             CValue{CValue::Bytes{}},
                             CValue{CValue::Bytes{0, 255}}};
    for (const auto& value : values) {
        EXPECT_EQ(decode(encode(value)), value) << value;
    }
}

TEST(ValueCodecTest, AnInvalidValueHasNoBytes) {
    EXPECT_TRUE(encode(CValue{}).empty());
}

TEST(ValueCodecTest, ATimestampKeepsItsFormat) {
    EXPECT_EQ(decode(encode(CValue{qz::CTimestamp{7, "%H:%M"}}))->as_timestamp().format, "%H:%M");
}

TEST(ValueCodecTest, NegativeZeroAndNotANumberComeBack) {
    EXPECT_TRUE(std::signbit(decode(encode(CValue{-0.0F}))->as_float()));
    EXPECT_TRUE(std::isnan(decode(encode(CValue{std::nan("")}))->as_double()));
}

TEST(ValueCodecTest, BytesThatNobodyEncodedAreRefused) {
    const CValue::Bytes wrong[] = {{0},    {1},  {1, 2},  {1, 1, 1}, {2, 0, 0, 0}, {6, 0, 0, 0, 0, 0},
                                   {8, 1}, {11}, {255, 0}};
    for (const auto& bytes : wrong) {
        EXPECT_FALSE(decode(bytes)) << int{bytes.front()};
    }
}

TEST(ValueCodecTest, NotANumberIsTheSameAsBefore) {
    EXPECT_TRUE(same(CValue{std::nan("")}, CValue{std::nan("")}));
    EXPECT_FALSE(same(CValue{std::nan("")}, CValue{0.0}));
}

TEST(ValueCodecTest, EqualNumbersOfOtherKindsAreNotTheSame) {
    EXPECT_FALSE(same(CValue{1U}, CValue{std::int32_t{1}}));
    EXPECT_TRUE(same(CValue{1U}, CValue{1U}));
}

} // namespace
